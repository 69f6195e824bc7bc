// SPDX-License-Identifier: Apache-2.0
// The headers of a call, checked before anything is sent.
#pragma once

#include <string>
#include <string_view>
#include <tuple>

#include "curl_handle.h"
#include "qx/rest_request.h"

namespace qx {

/// Compares names as HTTP does, without regard to the case of ASCII letters.
bool isSameIgnoringCase(std::string_view left, std::string_view right) noexcept;

/// True when a trimmed value holds no line break, NUL or other control character; a tab may stand in it.
bool isHeaderValue(std::string_view value) noexcept;

/// What the headers of a call are made of. Borrowed.
struct HeaderSources {
  const CMRestParamList& session;
  const CMRestParamList& request;  // each replaces the session's of the same name
  const std::string& userAgent;    // empty: the name and version of libqx
  std::string_view contentType;    // empty: no such header, not even libcurl's own
  bool isBodyLarge;

  auto asTuple() const { return std::tie(session, request, userAgent, contentType, isBodyLarge); }
};

/// The user agent by itself, as it is sent; empty when it may not be sent.
std::string obtainSentUserAgent(const std::string& userAgent);

/// The header lines of one call after the other, which are mostly the same. They may hold a key, which is cleared when
/// they go. Serves one call at a time.
class RestHeaders {
 public:
  RestHeaders() = default;
  ~RestHeaders();
  RestHeaders(const RestHeaders&) = delete;
  RestHeaders& operator=(const RestHeaders&) = delete;

  /// Gives the transfer the headers, trimmed at both ends; it must end before the next time. One of the sources
  /// replaces that of libqx with the same name. False when a name or a value may not stand in a header. Throws
  /// `std::bad_alloc`.
  bool setOn(CurlEasy& easy, const HeaderSources& sources);

 private:
  void clear() noexcept;

  // What the lines are made of: comparing takes a tenth of making them.
  CMRestParamList session_;
  CMRestParamList request_;
  std::string userAgent_;
  std::string contentType_;
  bool isBodyLarge_ = false;
  CurlList lines_;  // null when they may not be sent
};

}  // namespace qx
