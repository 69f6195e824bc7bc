// SPDX-License-Identifier: Apache-2.0
// The pool that `QX::createHTTPPoolCenter` makes.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "cancel_state.h"
#include "kept_connection.h"
#include "loop_pool.h"
#include "qx/http_pool_center.h"
#include "rest_headers.h"
#include "rest_url.h"

namespace qx {

/// What one call after the other is mostly asked with.
struct RestRequestParts {
  RestURL url;
  RestHeaders headers;
};

/// What the calls of a host leave for each other. One at a time uses it, through a `PoolLease`.
class PoolCenter final : public ICSHTTPPoolCenter {
 public:
  /// Null when the source serves a pool already. Throws `std::bad_alloc`.
  static std::unique_ptr<PoolCenter> create(std::shared_ptr<QXCancelSource> cancelSource);
  ~PoolCenter() override;
  PoolCenter(const PoolCenter&) = delete;
  PoolCenter& operator=(const PoolCenter&) = delete;

  /// The pool itself when this library made it, otherwise null: a host's own subclass holds no connections.
  static PoolCenter* obtainFrom(ICSHTTPPoolCenter* pool) noexcept;

  /// Null without a cancel source.
  CancelState* obtainCancelState() const noexcept;

 private:
  friend class PoolLease;

  explicit PoolCenter(std::shared_ptr<QXCancelSource> cancelSource);

  std::shared_ptr<QXCancelSource> cancelSource_;
  std::atomic<bool> isBusy_ = false;
  LoopKeeping loopKeeping_;
  KeptConnection connection_;
  RestRequestParts parts_;
};

}  // namespace qx
