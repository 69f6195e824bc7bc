// SPDX-License-Identifier: Apache-2.0
// What a cancel source and the pool that it serves have in common.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/platform.h"

namespace qx {

/// A small machine without locks: a cancel may come from a signal handler, in the middle of anything.
class CancelState {
 public:
  /// True for the first pool that the source is to serve, false for every other.
  bool claim() noexcept { return !isClaimed_.exchange(true); }

  /// The code of the last call through the pool.
  void setLastCode(std::int32_t code) noexcept { lastCode_ = code; }
  std::int32_t obtainLastCode() const noexcept { return lastCode_; }

  /// An operation begins or ends; within another one they do nothing. One thread at a time.
  void begin() noexcept;
  void end() noexcept;
  /// While an operation waits, a cancel wakes it through this. Null: no longer; no cancel uses it from then on.
  void setWaker(platform::Waker* waker) noexcept;
  bool isCancelled() const noexcept;

  /// Any thread, at any time.
  void cancel() noexcept;

 private:
  enum class Phase { Idle, Running, Cancelling, Cancelled };

  void waitForCancel() const noexcept;

  std::atomic<bool> isClaimed_ = false;
  std::atomic<std::int32_t> lastCode_ = 0;
  std::atomic<Phase> phase_ = Phase::Idle;
  std::atomic<platform::Waker*> waker_ = nullptr;
  std::atomic<int> depth_ = 0;
};

}  // namespace qx
