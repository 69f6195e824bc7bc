// SPDX-License-Identifier: Apache-2.0
// Connections that are kept between calls, and the way to end a call from outside.
#pragma once

#include <cstdint>
#include <memory>

#include "qx/export.h"

namespace qx {
class CancelState;
class PoolCenter;
}  // namespace qx

/// Keeps connections to servers open, so that the next call need not connect again. Serves one call at a time; a
/// second one at the same time is safe, but makes a connection of its own. Nothing is shared between two pools but
/// the certificates that the process trusts and, for a minute, the addresses of names. While no call is running it
/// keeps one connection, and so one descriptor. After a fork it stays the parent's: the child neither uses nor deletes
/// it.
class QX_API ICSHTTPPoolCenter {
 public:
  virtual ~ICSHTTPPoolCenter();
};

/// Ends the call that is running through a pool, from any thread. The call comes back at once with
/// `CMRestCode::Cancelled`; when none is running, nothing happens, and later calls are not affected, but for
/// those of the same `QXCancelScope`. A message of an assistant counts as a whole, from the making of its text on.
class QX_API QXCancelSource {
 public:
  QXCancelSource();
  ~QXCancelSource();
  QXCancelSource(const QXCancelSource&) = delete;
  QXCancelSource& operator=(const QXCancelSource&) = delete;

  /// Any thread, at any time, also while the pool is being destroyed or after it is gone, and in a signal handler.
  void cancel() noexcept;

  /// The code (`CMRestCode`, or an HTTP status) of the last call that has ended through the pool which this source
  /// serves; 0 before the first. It is how a host tells a network's failure from a refusal by the server. Any thread,
  /// at any time, also after the pool is gone.
  std::int32_t obtainLastCode() const noexcept;

 private:
  friend class qx::PoolCenter;
  std::unique_ptr<qx::CancelState> state_;
};

/// Something longer than a call that a cancel ends too: a cancel that comes while it lives ends the call that is
/// running and all later ones through the pool, until the outermost scope ends. Scopes may stand within each other.
/// Used by the thread that makes the calls.
class QX_API QXCancelScope {
 public:
  /// `pool`: not owned, must outlive this object. Null, a pool without a cancel source and one that
  /// `createHTTPPoolCenter` did not make: nothing happens.
  explicit QXCancelScope(ICSHTTPPoolCenter* pool) noexcept;
  ~QXCancelScope();
  QXCancelScope(const QXCancelScope&) = delete;
  QXCancelScope& operator=(const QXCancelScope&) = delete;

 private:
  qx::CancelState* state_;  // lives at least as long as the pool; null: nothing to be done
};

namespace QX {
/// A new pool. The caller owns it, or whatever it hands it to; it is given back with `delete`.
[[nodiscard]] QX_API ICSHTTPPoolCenter* createHTTPPoolCenter();
/// A new pool whose calls can be ended through `cancelSource`, which it shares. A source serves one pool, and no other
/// after that: for one that has been handed to a pool before, the result is null. Without a source: as above.
[[nodiscard]] QX_API ICSHTTPPoolCenter* createHTTPPoolCenter(std::shared_ptr<QXCancelSource> cancelSource);
}  // namespace QX
