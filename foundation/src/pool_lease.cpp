// SPDX-License-Identifier: Apache-2.0
#include "pool_lease.h"

namespace qx {

std::optional<PoolLease> PoolLease::take(PoolCenter* pool, TransferLoop& loop) noexcept {
  if (pool == nullptr || pool->isBusy_.exchange(true)) return std::nullopt;
  return PoolLease(*pool, loop);
}

PoolLease::PoolLease(PoolCenter& pool, TransferLoop& loop) noexcept : pool_(&pool) {
  CancelState* const cancel = pool.obtainCancelState();
  if (cancel == nullptr) return;
  cancel->begin();
  cancel->setWaker(&loop.obtainWaker());
}

// In this order: no cancel may wake a loop that has gone, or meet a call that has ended, and the next call may begin
// only when neither can happen any more.
void PoolLease::GiveBack::operator()(PoolCenter* pool) const noexcept {
  if (CancelState* const cancel = pool->obtainCancelState(); cancel != nullptr) {
    cancel->setWaker(nullptr);
    cancel->end();
  }
  pool->isBusy_ = false;
}

}  // namespace qx
