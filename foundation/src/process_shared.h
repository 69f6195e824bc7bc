// SPDX-License-Identifier: Apache-2.0
// What the calls of a process share.
#pragma once

#include <memory>

namespace qx {

/// Held by whoever uses something that calls share, or has libcurl initialise something, which takes a lock of its own.
/// A fork waits until nobody holds it: the child, which has but one thread, then finds it free.
class ProcessLock {
 public:
  ProcessLock();
  ~ProcessLock();
  ProcessLock(const ProcessLock&) = delete;
  ProcessLock& operator=(const ProcessLock&) = delete;

  /// How many forks lie between this process and the one that loaded the library.
  unsigned obtainGeneration() const noexcept;
};

/// The one `Shared` of the process, made at its first use. It is never destroyed, since static objects of a host may
/// still make calls while they go; and after a fork the child makes one of its own, since threads and connections that
/// the old one knows stayed with the parent. Throws what its constructor throws.
template <class Shared>
Shared& obtainShared(const ProcessLock& lock) {
  static constinit Shared* shared = nullptr;
  static constinit unsigned generation = 0;
  if (shared == nullptr || generation != lock.obtainGeneration()) {
    shared = std::make_unique<Shared>().release();
    generation = lock.obtainGeneration();
  }
  return *shared;
}

}  // namespace qx
