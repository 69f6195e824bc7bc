// SPDX-License-Identifier: Apache-2.0
// What a call borrows from a pool.
#pragma once

#include <memory>
#include <optional>

#include "pool_center.h"

namespace qx {

/// The use of a pool by one call. While it lasts, the pool's cancel source ends that call. A lease that has been moved
/// from holds nothing and ends nothing.
class PoolLease {
 public:
  /// Nothing when there is no pool or another call is using it. Neither is owned; both must outlive the lease. `loop`:
  /// what the call waits in, and a cancel wakes.
  static std::optional<PoolLease> take(PoolCenter* pool, TransferLoop& loop) noexcept;

  KeptConnection& obtainConnection() const noexcept { return pool_->connection_; }
  RestRequestParts& obtainParts() const noexcept { return pool_->parts_; }
  /// Null: nobody can cancel the call.
  const CancelState* obtainCancelState() const noexcept { return pool_->obtainCancelState(); }

 private:
  struct GiveBack {
    void operator()(PoolCenter* pool) const noexcept;
  };

  PoolLease(PoolCenter& pool, TransferLoop& loop) noexcept;

  std::unique_ptr<PoolCenter, GiveBack> pool_;
};

}  // namespace qx
