// SPDX-License-Identifier: Apache-2.0
#include "process_shared.h"

#include <atomic>
#include <thread>

#include "platform/platform.h"

namespace qx {

namespace {

/// There before any other static object is made, and never destroyed.
class Mutex {
 public:
  void lock() noexcept {
    while (!try_lock()) isTaken_.wait(true, std::memory_order_relaxed);
  }
  bool try_lock() noexcept { return !isTaken_.test_and_set(std::memory_order_acquire); }
  void unlock() noexcept {
    isTaken_.clear(std::memory_order_release);
    isTaken_.notify_one();
  }

 private:
  std::atomic_flag isTaken_;
};

constinit Mutex gShared;
constinit unsigned gGeneration = 0;
constinit bool areForksWatched = false;

void unlockInChild() {
  ++gGeneration;
  gShared.unlock();
}

}  // namespace

// It is held for a microsecond or two. Where hundreds of threads ask, putting each one that finds it taken to sleep
// costs a fifth of what they get done.
ProcessLock::ProcessLock() {
  constexpr int kTries = 40;
  bool isLocked = gShared.try_lock();
  for (int i = 0; i < kTries && !isLocked; ++i) {
    std::this_thread::yield();
    isLocked = gShared.try_lock();
  }
  if (!isLocked) gShared.lock();
  if (areForksWatched) return;
  areForksWatched = true;
  platform::watchForks([] { gShared.lock(); }, [] { gShared.unlock(); }, unlockInChild);
}

ProcessLock::~ProcessLock() { gShared.unlock(); }

unsigned ProcessLock::obtainGeneration() const noexcept { return gGeneration; }

}  // namespace qx
