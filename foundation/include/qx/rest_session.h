// SPDX-License-Identifier: Apache-2.0
// What the calls of one client of a service have in common.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qx/export.h"

class ICSHTTPPoolCenter;

/// Headers that go with every call, and the pool that the calls go through. The bytes of a header are wiped when it is
/// replaced or the session goes. Serves one thread at a time.
class QX_API CMRestSession {
 public:
  CMRestSession() = default;
  virtual ~CMRestSession();
  CMRestSession(const CMRestSession&) = delete;
  CMRestSession& operator=(const CMRestSession&) = delete;

  /// Not owned; must live until the last call has returned. The session's destructor doesn't touch it. Null: each
  /// call makes a connection of its own.
  ICSHTTPPoolCenter* poolCenter = nullptr;

  /// The `Authorization` header of every later call is that value. White space at both ends is not sent.
  void setAuthorizationHeaderValue(std::string_view value);
  /// A header of every later call. A later value under the same name, compared without regard to case, replaces
  /// the earlier one. A name or value with a line break or NUL inside makes the next call fail before it is sent.
  void addHeaderParam(std::string_view name, std::string_view value);

  /// The headers in the order of their first addition. Borrowed; good until the session changes.
  const std::vector<std::pair<std::string, std::string>>& obtainHeaderParams() const noexcept { return headers_; }

 private:
  std::vector<std::pair<std::string, std::string>> headers_;
};
