// SPDX-License-Identifier: Apache-2.0
#include "cancel_state.h"

#include <thread>

namespace qx {

void CancelState::begin() noexcept {
  // A message of an assistant is an operation around those of its calls.
  if (depth_++ == 0) phase_ = Phase::Running;
}

void CancelState::end() noexcept {
  if (--depth_ > 0) return;
  // A cancel that has begun ends first: what it does afterwards would meet the next operation.
  for (Phase phase = phase_; phase == Phase::Cancelling || !phase_.compare_exchange_weak(phase, Phase::Idle);) {
    std::this_thread::yield();
    phase = phase_;
  }
}

void CancelState::setWaker(platform::Waker* waker) noexcept {
  waker_ = waker;
  // A cancel that has just read the old one may not have used it yet, and it goes after this.
  if (waker == nullptr) waitForCancel();
}

bool CancelState::isCancelled() const noexcept { return phase_ >= Phase::Cancelling; }

void CancelState::cancel() noexcept {
  // Of several cancels one does the work, and none has anything to do where nothing runs.
  Phase running = Phase::Running;
  if (!phase_.compare_exchange_strong(running, Phase::Cancelling)) return;
  if (platform::Waker* const waker = waker_; waker != nullptr) waker->wake();
  phase_ = Phase::Cancelled;
}

// A cancel takes some instructions. One that a signal handler makes on this very thread is over before this goes on.
void CancelState::waitForCancel() const noexcept {
  while (phase_ == Phase::Cancelling) std::this_thread::yield();
}

}  // namespace qx
