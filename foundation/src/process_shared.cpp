// SPDX-License-Identifier: Apache-2.0
#include "process_shared.h"

#include <thread>

#include "platform/platform.h"

namespace qx {

namespace {

/// Never destroyed, and there before any other static object is made.
union Mutex {
  platform::Mutex mutex;
  constexpr Mutex() : mutex() {}
  ~Mutex() {}
};

constinit Mutex gShared;
constinit unsigned gGeneration = 0;
constinit bool areForksWatched = false;

void unlockInChild() {
  ++gGeneration;
  gShared.mutex.unlock();
}

}  // namespace

// It is held for a microsecond or two. Where hundreds of threads ask, putting each one that finds it taken to sleep
// costs a fifth of what they get done.
ProcessLock::ProcessLock() {
  constexpr int kTries = 40;
  bool isLocked = gShared.mutex.try_lock();
  for (int i = 0; i < kTries && !isLocked; ++i) {
    std::this_thread::yield();
    isLocked = gShared.mutex.try_lock();
  }
  if (!isLocked) gShared.mutex.lock();
  if (areForksWatched) return;
  areForksWatched = true;
  platform::watchForks([] { gShared.mutex.lock(); }, [] { gShared.mutex.unlock(); }, unlockInChild);
}

ProcessLock::~ProcessLock() { gShared.mutex.unlock(); }

unsigned ProcessLock::obtainGeneration() const noexcept { return gGeneration; }

}  // namespace qx
