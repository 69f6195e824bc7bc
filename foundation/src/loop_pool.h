// SPDX-License-Identifier: Apache-2.0
// The pooled loops of the process.
#pragma once

#include <memory>

#include "transfer_loop.h"

namespace qx {

/// A loop for the length of one call: a pooled one, or a new one.
class BorrowedLoop {
 public:
  /// Initialises libcurl at the first use in the process. Throws `std::bad_alloc`.
  BorrowedLoop();
  ~BorrowedLoop();
  BorrowedLoop(const BorrowedLoop&) = delete;
  BorrowedLoop& operator=(const BorrowedLoop&) = delete;

  TransferLoop& operator*() const noexcept { return *loop_; }
  TransferLoop* operator->() const noexcept { return loop_.get(); }

 private:
  std::unique_ptr<TransferLoop> loop_;
};

/// Loops are pooled as long as there is one of these: a host that has freed all its assistants has its descriptors
/// back.
class LoopKeeping {
 public:
  LoopKeeping();
  ~LoopKeeping();
  LoopKeeping(const LoopKeeping&) = delete;
  LoopKeeping& operator=(const LoopKeeping&) = delete;

 private:
  unsigned generation_;
};

}  // namespace qx
