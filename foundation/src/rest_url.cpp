#include "rest_url.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "rest_headers.h"

namespace {

constexpr std::string_view kSeparator = "://";
// What stands for itself everywhere, beside letters and digits; and what may stand in a path or a query.
constexpr std::string_view kUnreserved = "-._~";
constexpr std::string_view kPathAndQuery = "-._~/?:@!$&'()*+,;=";

bool isAlphanumeric(char character) noexcept {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9');
}

bool isHexDigit(char character) noexcept {
  return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f') ||
         (character >= 'A' && character <= 'F');
}

bool isEscape(std::string_view text) noexcept {
  return text.size() >= 3 && text[0] == '%' && isHexDigit(text[1]) && isHexDigit(text[2]);
}

void appendEscape(std::string& target, char character) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto code = static_cast<unsigned char>(character);
  target += {'%', kDigits[code >> 4U], kDigits[code & 0xFU]};
}

void appendEncoded(std::string& target, std::string_view text, std::string_view allowed) {
  for (const char character : text) {
    if (isAlphanumeric(character) || allowed.find(character) != std::string_view::npos) {
      target += character;
    } else {
      appendEscape(target, character);
    }
  }
}

// A per cent sign that begins no escape is meant as itself.
void appendPathAndQuery(std::string& target, std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isEscape(text.substr(i))) {
      target += text[i];
    } else {
      appendEncoded(target, text.substr(i, 1), kPathAndQuery);
    }
  }
}

void appendQuery(std::string& target, const CMRestParamList& query) {
  for (const auto& [name, value] : query) {
    const std::size_t mark = target.find('?');
    if (mark == std::string::npos) {
      target += '?';
    } else if (mark + 1 != target.size()) {
      target += '&';
    }
    appendEncoded(target, name, kUnreserved);
    target += '=';
    appendEncoded(target, value, kUnreserved);
  }
}

/// Null when it cannot be read.
CurlURL parse(const std::string& url, unsigned flags) {
  CurlURL parsed(curl_url());
  if (!parsed) throw std::bad_alloc();
  if (curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), flags) != CURLUE_OK) parsed.reset();
  return parsed;
}

bool isHTTPScheme(std::string_view scheme) noexcept {
  return isSameIgnoringCase(scheme, "http") || isSameIgnoringCase(scheme, "https");
}

/// Empty when it is seen to be none.
std::string encodeURL(std::string_view text, const CMRestParamList& query) {
  const std::size_t schemeEnd = text.find(kSeparator);
  if (schemeEnd == std::string_view::npos) return {};
  if (!isHTTPScheme(text.substr(0, schemeEnd))) return {};

  const std::size_t hostBegin = schemeEnd + kSeparator.size();
  const std::size_t pathBegin = std::min(text.find_first_of("/?#", hostBegin), text.size());
  if (pathBegin == hostBegin) return {};  // libcurl would take the path's first segment for the host
  // Nothing is mended in front of the path. libcurl finds all that is wrong there but a NUL, where it stops reading,
  // and an escaped delete character, which it would send unescaped.
  std::string result(text.substr(0, pathBegin));
  if (result.find('\0') != std::string::npos || result.find("%7F") != std::string::npos ||
      result.find("%7f") != std::string::npos) {
    return {};
  }
  appendPathAndQuery(result, text.substr(pathBegin, std::min(text.find('#', pathBegin), text.size()) - pathBegin));
  appendQuery(result, query);
  return result;
}

}  // namespace

bool isProxyURL(const std::string& url) {
  if (url.find('\0') != std::string::npos) return false;
  const std::size_t schemeEnd = url.find(kSeparator);
  if (schemeEnd != std::string::npos && !isHTTPScheme(std::string_view(url).substr(0, schemeEnd))) return false;
  return parse(url, CURLU_GUESS_SCHEME) != nullptr;
}

bool RestURL::setOn(CurlEasy& easy, const std::string& url, const CMRestParamList& query) {
  if (!parsed_ || url != url_ || query != query_) {
    parsed_.reset();  // none is taken for another's should memory run out
    url_ = url;
    query_ = query;
    encoded_ = encodeURL(url, query);
    parsed_ = parse(encoded_, 0);
  }
  if (!parsed_) return false;
  // Without the text libcurl would put it together again from the parts.
  easy.set(CURLOPT_URL, encoded_.c_str());
  easy.set(CURLOPT_CURLU, parsed_.get());
  return true;
}
