// SPDX-License-Identifier: Apache-2.0
#include "qx/http_pool_center.h"

#include <utility>

#include "cancel_state.h"
#include "pool_center.h"

using namespace qx;

QXCancelSource::QXCancelSource() : state_(std::make_unique<CancelState>()) {}
QXCancelSource::~QXCancelSource() = default;

void QXCancelSource::cancel() noexcept { state_->cancel(); }

std::int32_t QXCancelSource::obtainLastCode() const noexcept { return state_->obtainLastCode(); }

QXCancelScope::QXCancelScope(ICSHTTPPoolCenter* pool) noexcept {
  PoolCenter* const own = PoolCenter::obtainFrom(pool);
  state_ = own != nullptr ? own->obtainCancelState() : nullptr;
  if (state_ != nullptr) state_->begin();
}

QXCancelScope::~QXCancelScope() {
  if (state_ != nullptr) state_->end();
}

ICSHTTPPoolCenter::~ICSHTTPPoolCenter() = default;

ICSHTTPPoolCenter* QX::createHTTPPoolCenter() { return createHTTPPoolCenter(nullptr); }

ICSHTTPPoolCenter* QX::createHTTPPoolCenter(std::shared_ptr<QXCancelSource> cancelSource) {
  return PoolCenter::create(std::move(cancelSource)).release();
}
