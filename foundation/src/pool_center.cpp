// SPDX-License-Identifier: Apache-2.0
#include "pool_center.h"

#include <utility>

namespace qx {

PoolCenter::PoolCenter(std::shared_ptr<QXCancelSource> cancelSource) : cancelSource_(std::move(cancelSource)) {}

PoolCenter::~PoolCenter() = default;

std::unique_ptr<PoolCenter> PoolCenter::create(std::shared_ptr<QXCancelSource> cancelSource) {
  // Before the claim: a source must not be used up by a pool that there was no memory for.
  std::unique_ptr<PoolCenter> pool(new PoolCenter(std::move(cancelSource)));
  CancelState* const state = pool->obtainCancelState();
  return state == nullptr || state->claim() ? std::move(pool) : nullptr;
}

PoolCenter* PoolCenter::obtainFrom(ICSHTTPPoolCenter* pool) noexcept { return dynamic_cast<PoolCenter*>(pool); }

CancelState* PoolCenter::obtainCancelState() const noexcept {
  return cancelSource_ ? cancelSource_->state_.get() : nullptr;
}

}  // namespace qx
