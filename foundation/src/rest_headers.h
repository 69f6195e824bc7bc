// The headers of a call, checked before anything is sent.
#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "curl_handle.h"
#include "qx/rest_request.h"

/// Compares names as HTTP does, without regard to the case of ASCII letters.
bool isSameIgnoringCase(std::string_view left, std::string_view right) noexcept;

/// True when a trimmed value holds no line break, NUL or other control character; a tab may stand in it.
bool isHeaderValue(std::string_view value) noexcept;

/// Header lines as libcurl reads them. All texts have one piece of memory and all members of the list another: a list
/// of libcurl's own making takes a twentieth of a short call.
class HeaderLines {
 public:
  /// Appends a line of these pieces. REQUIRES: none of them holds a NUL.
  void append(std::initializer_list<std::string_view> pieces);
  /// Null without lines. Not owned; good until a line is appended or this object is moved.
  curl_slist* obtainList();

 private:
  std::string text_;  // each line ends in a NUL
  std::size_t lines_ = 0;
  std::vector<curl_slist> list_;
};

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
  RestHeaders() = default;
  RestHeaders(const RestHeaders&) = delete;
  RestHeaders& operator=(const RestHeaders&) = delete;

  /// Gives the transfer the headers, trimmed at both ends. Those of libqx stand back behind the sources' of the same
  /// name. False when a name or a value may not stand in a header. The transfer must end before the next time.
  bool setOn(CurlEasy& easy, const HeaderSources& sources);
  /// The user agent by itself, as it is sent.
  const std::string& obtainUserAgent() const noexcept { return sentUserAgent_; }

 private:
  bool areMadeOf(const HeaderSources& sources) const;
  bool make(const HeaderSources& sources);

  CMRestParamList session_;
  CMRestParamList request_;
  std::string userAgent_;
  std::string contentType_;
  bool isBodyLarge_ = false;
  std::string sentUserAgent_;
  HeaderLines lines_;
  curl_slist* list_ = nullptr;  // null unless the lines are those of the sources above
};
