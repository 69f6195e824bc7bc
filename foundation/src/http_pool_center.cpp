#include "qx/http_pool_center.h"

#include <utility>

#include "qx_http_pool_center.h"

using namespace qx;

struct QXCancelSource::State : CancelState {};

QXCancelSource::QXCancelSource() : state_(std::make_unique<State>()) {}
QXCancelSource::~QXCancelSource() = default;

void QXCancelSource::cancel() noexcept { state_->cancel(); }

ICSHTTPPoolCenter::~ICSHTTPPoolCenter() = default;

QXCancelScope::QXCancelScope(ICSHTTPPoolCenter* pool) noexcept : pool_(QXHTTPPoolCenter::obtainFrom(pool)) {
  if (CancelState* const state = pool_ != nullptr ? pool_->obtainCancelState() : nullptr) state->begin();
}

QXCancelScope::~QXCancelScope() {
  if (CancelState* const state = pool_ != nullptr ? pool_->obtainCancelState() : nullptr) state->end();
}

QXHTTPPoolCenter::QXHTTPPoolCenter(std::shared_ptr<QXCancelSource> cancelSource)
    : cancelSource_(std::move(cancelSource)) {}

QXHTTPPoolCenter::~QXHTTPPoolCenter() = default;

QXHTTPPoolCenter* QXHTTPPoolCenter::obtainFrom(ICSHTTPPoolCenter* pool) noexcept {
  return dynamic_cast<QXHTTPPoolCenter*>(pool);
}

CancelState* QXHTTPPoolCenter::obtainCancelState() const noexcept {
  return cancelSource_ ? cancelSource_->state_.get() : nullptr;
}

QXHTTPPoolCenter::Lease::Lease(QXHTTPPoolCenter* pool) {
  if (pool == nullptr || pool->isBusy_.exchange(true)) return;
  pool_ = pool;
  cancel_ = pool->obtainCancelState();
  if (cancel_ == nullptr) return;
  cancel_->begin();
  cancel_->setWaker(&loop_->obtainWaker());
}

QXHTTPPoolCenter::Lease::~Lease() {
  if (cancel_ != nullptr) {
    cancel_->setWaker(nullptr);
    cancel_->end();
  }
  if (pool_ != nullptr) pool_->isBusy_ = false;
}

ICSHTTPPoolCenter* QX::createHTTPPoolCenter() { return createHTTPPoolCenter(nullptr); }

ICSHTTPPoolCenter* QX::createHTTPPoolCenter(std::shared_ptr<QXCancelSource> cancelSource) {
  return std::make_unique<QXHTTPPoolCenter>(std::move(cancelSource)).release();
}

std::int32_t QX::obtainLastCode(const ICSHTTPPoolCenter* pool) noexcept {
  const auto* const own = dynamic_cast<const QXHTTPPoolCenter*>(pool);
  return own != nullptr ? own->obtainLastCode() : 0;
}
