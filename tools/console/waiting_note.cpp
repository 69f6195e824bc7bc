// SPDX-License-Identifier: Apache-2.0
#include "console/waiting_note.h"

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace console {

WaitingNote::WaitingNote() {
  if (::isatty(STDERR_FILENO) != 1) return;
  // Ctrl-C is for the thread that asks.
  sigset_t all;
  sigset_t former;
  static_cast<void>(sigfillset(&all));
  static_cast<void>(pthread_sigmask(SIG_SETMASK, &all, &former));
  thread_ = std::thread([this] { show(); });
  static_cast<void>(pthread_sigmask(SIG_SETMASK, &former, nullptr));
}

WaitingNote::~WaitingNote() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isEnded_ = true;
  }
  ended_.notify_all();
  thread_.join();
}

void WaitingNote::show() {
  std::unique_lock<std::mutex> lock(mutex_);
  constexpr auto tick = std::chrono::milliseconds(250);
  constexpr int ticksOfSecond = 4;
  int ticks = 0;
  while (!ended_.wait_for(lock, tick, [this] { return isEnded_; })) {
    if (++ticks < ticksOfSecond) continue;
    std::fprintf(stderr, "\r%c %d s, Ctrl-C ends the question", "|/-\\"[ticks % 4], ticks / ticksOfSecond);
  }
  if (ticks >= ticksOfSecond) std::fputs("\r\x1b[K", stderr);  // the line is as it was
}

}  // namespace console
