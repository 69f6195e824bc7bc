// The pool behind `ICSHTTPPoolCenter`, and what a call borrows from it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "cancel_state.h"
#include "kept_connection.h"
#include "qx/http_pool_center.h"
#include "rest_headers.h"
#include "rest_url.h"
#include "transfer_loop.h"

namespace qx {

/// What one call after the other is mostly asked with.
struct RestRequestParts {
  RestURL url;
  RestHeaders headers;
};

}  // namespace qx

class QXHTTPPoolCenter final : public ICSHTTPPoolCenter {
 public:
  explicit QXHTTPPoolCenter(std::shared_ptr<QXCancelSource> cancelSource);
  ~QXHTTPPoolCenter() override;
  QXHTTPPoolCenter(const QXHTTPPoolCenter&) = delete;
  QXHTTPPoolCenter& operator=(const QXHTTPPoolCenter&) = delete;

  /// The pool itself when this library made it, otherwise null: a host's own subclass holds no connections.
  static QXHTTPPoolCenter* obtainFrom(ICSHTTPPoolCenter* pool) noexcept;

  void setLastCode(std::int32_t code) noexcept { lastCode_ = code; }
  std::int32_t obtainLastCode() const noexcept { return lastCode_; }
  /// Null without a cancel source.
  qx::CancelState* obtainCancelState() const noexcept;

  class Lease;

 private:
  std::shared_ptr<QXCancelSource> cancelSource_;
  std::atomic<bool> isBusy_ = false;
  std::atomic<std::int32_t> lastCode_ = 0;
  qx::LoopKeeping loopKeeping_;
  qx::KeptConnection connection_;
  qx::RestRequestParts parts_;
};

/// What one call works with: a loop and, unless there is no pool or it is busy, the pool's connection and its cancel
/// source.
class QXHTTPPoolCenter::Lease {
 public:
  /// `pool`: not owned, may be null. Throws `std::bad_alloc`.
  explicit Lease(QXHTTPPoolCenter* pool);
  ~Lease();
  Lease(const Lease&) = delete;
  Lease& operator=(const Lease&) = delete;

  qx::TransferLoop& obtainLoop() const noexcept { return *loop_; }
  /// Null: the connection of the call ends with it.
  qx::KeptConnection* obtainConnection() const noexcept { return pool_ != nullptr ? &pool_->connection_ : nullptr; }
  qx::RestRequestParts& obtainParts() noexcept { return pool_ != nullptr ? pool_->parts_ : ownParts_; }
  /// Null: nobody can cancel the call.
  const qx::CancelState* obtainCancelState() const noexcept { return cancel_; }

 private:
  qx::BorrowedLoop loop_;
  qx::RestRequestParts ownParts_;
  QXHTTPPoolCenter* pool_ = nullptr;
  qx::CancelState* cancel_ = nullptr;
};
