// The pool behind `ICSHTTPPoolCenter`, and what a call borrows from it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "kept_sockets.h"
#include "qx/http_pool_center.h"

/// One libcurl multi handle: it owns the connections. It is made by the first call, so that libcurl sleeps in a process
/// that makes none.
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

  class Lease;

 private:
  std::shared_ptr<QXCancelSource> cancelSource_;
  std::atomic<bool> isBusy_ = false;
  std::atomic<std::int32_t> lastCode_ = 0;
  KeptConnections connections_;
};

/// The right to drive a multi handle for the length of one call: the pool's, or one of its own where there is no pool
/// or the pool is busy. While it has the pool's, the pool's cancel source acts on it.
class QXHTTPPoolCenter::Lease {
 public:
  /// For connections that trust the authorities of that file, or the system's when it is empty. Throws
  /// `std::bad_alloc`.
  Lease(QXHTTPPoolCenter* pool, const std::string& trustedAuthorities);
  ~Lease();
  Lease(const Lease&) = delete;
  Lease& operator=(const Lease&) = delete;

  KeptConnections& obtainConnections() const noexcept { return connections_; }
  bool isCancelled() const noexcept;

 private:
  QXHTTPPoolCenter* pool_;              // null without the pool's multi handle
  std::optional<KeptConnections> own_;  // only without it
  KeptConnections& connections_;
};
