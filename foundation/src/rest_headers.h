// The headers of a call, checked before anything is sent.
#pragma once

#include <string>
#include <string_view>

#include "curl_handle.h"
#include "qx/rest_request.h"

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
};

/// The headers of one call after the other, which are mostly the same. Serves one thread at a time.
class RestHeaders {
 public:
  /// Gives the transfer the headers, trimmed at both ends. Those of libqx stand back behind the sources' of the same
  /// name. False when a name or a value may not stand in a header. The transfer must end before the next time. Throws
  /// `std::bad_alloc`.
  bool setOn(CurlEasy& easy, const HeaderSources& sources);
  /// The user agent by itself, as it is sent.
  const std::string& obtainUserAgent() const noexcept { return sentUserAgent_; }

 private:
  bool areMadeOf(const HeaderSources& sources) const;
  CurlList make(const HeaderSources& sources);

  CMRestParamList session_;
  CMRestParamList request_;
  std::string userAgent_;
  std::string contentType_;
  bool isBodyLarge_ = false;
  std::string sentUserAgent_;
  CurlList lines_;  // of the sources above; null when they may not be sent
};
