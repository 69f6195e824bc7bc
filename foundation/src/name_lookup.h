// SPDX-License-Identifier: Apache-2.0
// Looking names up without waiting for the resolver longer than a call may take.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace qx {

/// The wait of one call for one name. The system's resolver cannot be interrupted, so it works on a thread of its own,
/// one for each name at a time, and goes on there when the wait is given up: the next call for that name joins it.
class NameLookup {
 public:
  /// `waker` is woken when the lookup has ended; not owned, must outlive this object.
  explicit NameLookup(platform::Waker& waker) noexcept : waker_(waker) {}
  ~NameLookup();
  NameLookup(const NameLookup&) = delete;
  NameLookup& operator=(const NameLookup&) = delete;

  enum class Beginning { Begun, TooMany, NoThread };
  /// Begins or joins a lookup. `TooMany`: as many names as may be are being looked up, so it is to be tried again
  /// later. Throws `std::bad_alloc`.
  Beginning begin(const std::string& name);
  /// REQUIRES: it has begun, as does the next.
  bool hasEnded() const;
  /// The addresses once it has ended, none when the name was not found.
  const std::vector<std::string>& obtainAddresses() const noexcept;

 private:
  struct Task;
  struct Tasks;
  static void* work(void* task);

  std::shared_ptr<Task> task_;
  platform::Waker& waker_;
};

}  // namespace qx
