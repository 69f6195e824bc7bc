// SPDX-License-Identifier: Apache-2.0
#include "console/interrupt.h"

#include <atomic>
#include <utility>

namespace console {

namespace {

std::atomic<QXCancelSource*> running = nullptr;
static_assert(std::atomic<QXCancelSource*>::is_always_lock_free, "a signal handler reads it");

void cancelRunning(int) {
  if (QXCancelSource* const source = running) source->cancel();
}

struct sigaction handleInterrupt(void (*handler)(int)) {
  struct sigaction action {};
  struct sigaction former {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  static_cast<void>(sigaction(SIGINT, &action, &former));  // the signal exists
  return former;
}

/// Ctrl-C, and what ends the thread that waits for it.
sigset_t awaitedSignals() {
  sigset_t signals;
  static_cast<void>(sigemptyset(&signals));
  static_cast<void>(sigaddset(&signals, SIGINT));
  static_cast<void>(sigaddset(&signals, SIGUSR1));
  return signals;
}

}  // namespace

CancelOnInterrupt::CancelOnInterrupt(std::shared_ptr<QXCancelSource> source) : source_(std::move(source)) {
  running = source_.get();
  former_ = handleInterrupt(cancelRunning);
}

CancelOnInterrupt::~CancelOnInterrupt() {
  static_cast<void>(sigaction(SIGINT, &former_, nullptr));
  running = nullptr;
}

CancelStatementOnInterrupt::HeldSignals::HeldSignals() {
  const sigset_t signals = awaitedSignals();
  static_cast<void>(pthread_sigmask(SIG_BLOCK, &signals, &former_));
}

CancelStatementOnInterrupt::HeldSignals::~HeldSignals() {
  static_cast<void>(pthread_sigmask(SIG_SETMASK, &former_, nullptr));
}

// A thread, because a runner may be cancelled from any of them, but not from a signal handler.
CancelStatementOnInterrupt::CancelStatementOnInterrupt(zeakit::IReadOnlyRunner& runner)
    : waiting_([&runner] {
        const sigset_t signals = awaitedSignals();
        int signal = 0;
        while (sigwait(&signals, &signal) == 0 && signal == SIGINT) runner.cancel();
      }) {}

CancelStatementOnInterrupt::~CancelStatementOnInterrupt() {
  static_cast<void>(pthread_kill(waiting_.native_handle(), SIGUSR1));
  waiting_.join();
}

IgnoredInterrupt::IgnoredInterrupt() : former_(handleInterrupt([](int) {})) {}

IgnoredInterrupt::~IgnoredInterrupt() { static_cast<void>(sigaction(SIGINT, &former_, nullptr)); }

}  // namespace console
