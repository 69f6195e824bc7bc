#include "qx/http_pool_center.h"

#include <mutex>
#include <utility>

#include "qx_http_pool_center.h"

// The mutex keeps a multi handle alive for as long as it is being woken: it is entered when a call begins and taken
// out before the call ends, and the pool with its handle can only go when no call is running.
struct QXCancelSource::State {
  std::mutex mutex;
  CURLM* running = nullptr;
  std::atomic<bool> isCancelled = false;

  void begin(CURLM* multi) {
    const std::lock_guard lock(mutex);
    running = multi;
    isCancelled = false;
  }
  void end() {
    const std::lock_guard lock(mutex);
    running = nullptr;
  }
};

QXCancelSource::QXCancelSource() : state_(std::make_unique<State>()) {}
QXCancelSource::~QXCancelSource() = default;

void QXCancelSource::cancel() noexcept {
  const std::lock_guard lock(state_->mutex);
  if (state_->running == nullptr) return;
  state_->isCancelled = true;
  // Should the waking fail, the call sees the flag the next time that it looks.
  static_cast<void>(curl_multi_wakeup(state_->running));
}

ICSHTTPPoolCenter::~ICSHTTPPoolCenter() = default;

QXHTTPPoolCenter::QXHTTPPoolCenter(std::shared_ptr<QXCancelSource> cancelSource)
    : cancelSource_(std::move(cancelSource)) {}

QXHTTPPoolCenter::~QXHTTPPoolCenter() = default;

QXHTTPPoolCenter* QXHTTPPoolCenter::obtainFrom(ICSHTTPPoolCenter* pool) noexcept {
  return dynamic_cast<QXHTTPPoolCenter*>(pool);
}

QXHTTPPoolCenter::Lease::Lease(QXHTTPPoolCenter* pool, const std::string& trustedAuthorities)
    : pool_(pool != nullptr && !pool->isBusy_.exchange(true) ? pool : nullptr),
      connections_(pool_ != nullptr ? pool_->connections_ : own_.emplace()) {
  try {
    connections_.open(trustedAuthorities);
  } catch (...) {
    if (pool_ != nullptr) pool_->isBusy_ = false;
    throw;
  }
  if (pool_ != nullptr && pool_->cancelSource_) pool_->cancelSource_->state_->begin(connections_.multi.get());
}

QXHTTPPoolCenter::Lease::~Lease() {
  if (pool_ == nullptr) return;
  if (pool_->cancelSource_) pool_->cancelSource_->state_->end();
  pool_->isBusy_ = false;
}

bool QXHTTPPoolCenter::Lease::isCancelled() const noexcept {
  return pool_ != nullptr && pool_->cancelSource_ && pool_->cancelSource_->state_->isCancelled;
}

ICSHTTPPoolCenter* QX::createHTTPPoolCenter() { return createHTTPPoolCenter(nullptr); }

ICSHTTPPoolCenter* QX::createHTTPPoolCenter(std::shared_ptr<QXCancelSource> cancelSource) {
  return std::make_unique<QXHTTPPoolCenter>(std::move(cancelSource)).release();
}

std::int32_t QX::obtainLastCode(const ICSHTTPPoolCenter* pool) noexcept {
  const auto* const own = dynamic_cast<const QXHTTPPoolCenter*>(pool);
  return own != nullptr ? own->obtainLastCode() : 0;
}
