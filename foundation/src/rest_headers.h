// The headers of a call, checked before anything is sent.
#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qx/rest_request.h"

/// Compares names as HTTP does, without regard to the case of ASCII letters.
bool isSameIgnoringCase(std::string_view left, std::string_view right) noexcept;

/// True when a trimmed value holds no line break, NUL or other control character; a tab may stand in it.
bool isHeaderValue(std::string_view value) noexcept;

/// The header lines of a call as libcurl reads them. All texts have one piece of memory and all members of the list
/// another: a list of libcurl's own making takes a twentieth of a short call.
class HeaderLines {
 public:
  HeaderLines() { text_.reserve(256); }

  /// Appends a line of these pieces. REQUIRES: none of them holds a NUL.
  void append(std::initializer_list<std::string_view> pieces);
  /// Null without lines. Not owned; good until a line is appended or this object is moved.
  curl_slist* obtainList();

 private:
  std::string text_;  // each line ends in a NUL
  std::size_t lines_ = 0;
  std::vector<curl_slist> list_;
};

/// A name and a value that may stand in a header; an empty value stands for no such header, not even libcurl's own.
using StandardHeader = std::pair<std::string_view, std::string_view>;

/// Appends the headers of a call, trimmed at both ends. A header of the request replaces the session's of the same
/// name, and one of either a standard one. False when a name or a value may not stand in a header.
bool appendHeaders(HeaderLines& lines, const CMRestParamList& sessionHeaders, const CMRestParamList& requestHeaders,
                   std::initializer_list<StandardHeader> standardHeaders);
