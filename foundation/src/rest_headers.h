// The headers of a call, checked before anything is sent.
#pragma once

#include <optional>
#include <string_view>

#include "curl_handle.h"
#include "qx/rest_request.h"

/// Compares names as HTTP does, without regard to the case of ASCII letters.
bool isSameIgnoringCase(std::string_view left, std::string_view right) noexcept;

/// True when a trimmed value holds no line break, NUL or other control character; a tab may stand in it.
bool isHeaderValue(std::string_view value) noexcept;

/// The header lines of a call in libcurl's notation, trimmed at both ends. A header of the request replaces the
/// session's of the same name. `contentType` is sent unless one of the two names another; an empty one stands for no
/// such header. Nothing when a name or a value may not stand in a header.
std::optional<CurlList> createHeaderLines(const CMRestParamList& sessionHeaders, const CMRestParamList& requestHeaders,
                                          std::string_view contentType);
