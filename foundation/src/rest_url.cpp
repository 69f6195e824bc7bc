// SPDX-License-Identifier: Apache-2.0
#include "rest_url.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <string_view>

#include "platform/platform.h"
#include "qx/secret.h"
#include "rest_headers.h"

namespace qx {

namespace {

constexpr std::string_view kSeparator = "://";

/// Which characters stand for themselves: letters, digits and those given.
constexpr std::array<bool, 256> listAllowed(std::string_view others) {
  std::array<bool, 256> allowed{};
  for (char character = 'a'; character <= 'z'; ++character) allowed[static_cast<unsigned char>(character)] = true;
  for (char character = 'A'; character <= 'Z'; ++character) allowed[static_cast<unsigned char>(character)] = true;
  for (char character = '0'; character <= '9'; ++character) allowed[static_cast<unsigned char>(character)] = true;
  for (const char character : others) allowed[static_cast<unsigned char>(character)] = true;
  return allowed;
}

constexpr std::array<bool, 256> kUnreserved = listAllowed("-._~");                   // everywhere
constexpr std::array<bool, 256> kPathAndQuery = listAllowed("-._~/?:@!$&'()*+,;=");  // in a path or a query

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

void appendEncoded(std::string& target, std::string_view text, const std::array<bool, 256>& allowed) {
  for (const char character : text) {
    if (allowed[static_cast<unsigned char>(character)]) {
      target += character;
    } else {
      appendEscape(target, character);
    }
  }
}

// A per cent sign that begins no escape is meant as itself.
void appendPathAndQuery(std::string& target, std::string_view text) {
  for (std::size_t sign = 0; sign < text.size();) {
    const std::size_t begin = sign;
    sign = std::min(text.find('%', begin), text.size());
    appendEncoded(target, text.substr(begin, sign - begin), kPathAndQuery);
    if (sign == text.size()) return;
    const std::size_t size = isEscape(text.substr(sign)) ? 3 : 1;
    size == 3 ? void(target.append(text.substr(sign, size))) : appendEscape(target, '%');
    sign += size;
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

// With the two characters that join a pair to the others.
std::size_t countBytes(const CMRestParamList& query) {
  std::size_t bytes = 0;
  for (const auto& [name, value] : query) bytes += name.size() + value.size() + 2;
  return bytes;
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

/// Replaces the host's name between `begin` and `end`, where a user may stand before it and a port after it,
/// by what the name system knows it by. libcurl would read it in the locale's encoding. False when it is no name.
bool convertHost(std::string& url, std::size_t begin, std::size_t end) {
  const auto isForeign = [](char character) { return static_cast<unsigned char>(character) >= 0x80; };
  const std::size_t at = url.rfind('@', end);
  if (at != std::string::npos && at >= begin && at < end) begin = at + 1;
  end = std::min(url.find(':', begin), end);
  const std::string name = url.substr(begin, end - begin);
  if (std::none_of(name.begin(), name.end(), isForeign)) return true;
  const std::string converted = platform::convertToASCII(name);
  if (!converted.empty()) url.replace(begin, end - begin, converted);
  return !converted.empty();
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
  std::string result;
  result.reserve(3 * (text.size() + countBytes(query)));  // growing would leave copies of a key in freed memory
  result = text.substr(0, pathBegin);
  if (result.find('\0') != std::string::npos || result.find("%7F") != std::string::npos ||
      result.find("%7f") != std::string::npos) {
    return {};
  }
  if (!convertHost(result, hostBegin, pathBegin)) return {};
  appendPathAndQuery(result, text.substr(pathBegin, std::min(text.find('#', pathBegin), text.size()) - pathBegin));
  appendQuery(result, query);
  return result;
}

/// Empty when the URL has no such part.
std::string obtainPart(const CurlURL& parsed, CURLUPart part, unsigned flags = CURLU_DEFAULT_PORT) {
  char* text = nullptr;
  if (curl_url_get(parsed.get(), part, &text, flags) != CURLUE_OK) return {};
  const std::unique_ptr<char, CurlRelease<curl_free>> owned(text);
  return text;
}

RestEndpoint obtainEndpointOf(const CurlURL& parsed) {
  RestEndpoint endpoint{obtainPart(parsed, CURLUPART_HOST), obtainPart(parsed, CURLUPART_PORT)};
  // Addresses of IPv6 are looked at and told to libcurl without their brackets.
  if (endpoint.host.size() > 2 && endpoint.host.front() == '[') {
    endpoint.host = endpoint.host.substr(1, endpoint.host.size() - 2);
  }
  return endpoint;
}

}  // namespace

RestURL::~RestURL() { clear(); }

void RestURL::clear() noexcept {
  parsed_.reset();
  qxWipe(url_);
  qxWipe(text_);
  qxWipe(query_);
  query_.clear();
}

bool RestURL::take(const std::string& url, const CMRestParamList& query) {
  if (parsed_ && url == url_ && query == query_) return true;
  clear();  // none is taken for another's should memory run out
  url_ = url;
  query_ = query;
  text_ = encodeURL(url, query);
  if (!text_.empty()) parsed_ = parse(text_, 0);
  return parsed_ != nullptr;
}

void RestURL::setOn(CurlEasy& easy) const {
  // Without the text libcurl would put it together again from the parts.
  easy.set(CURLOPT_URL, text_.c_str());
  easy.set(CURLOPT_CURLU, parsed_.get());
}

RestEndpoint RestURL::obtainEndpoint() const { return obtainEndpointOf(parsed_); }

bool isSecureURL(std::string_view url) noexcept {
  constexpr std::string_view kScheme = "https:";
  return isSameIgnoringCase(url.substr(0, kScheme.size()), kScheme);
}

std::optional<ProxyURL> ProxyURL::read(const std::string& url) {
  if (url.find('\0') != std::string::npos) return std::nullopt;
  const std::size_t schemeEnd = url.find(kSeparator);
  const bool hasScheme = schemeEnd != std::string::npos;
  if (hasScheme && !isHTTPScheme(std::string_view(url).substr(0, schemeEnd))) return std::nullopt;
  std::string text = url;
  const std::size_t begin = hasScheme ? schemeEnd + kSeparator.size() : 0;
  if (!convertHost(text, begin, std::min(url.find_first_of("/?#", begin), url.size()))) return std::nullopt;
  CurlURL parsed = parse(text, CURLU_GUESS_SCHEME);
  if (!parsed) return std::nullopt;
  return ProxyURL(std::move(text), std::move(parsed));
}

RestEndpoint ProxyURL::obtainEndpoint() const {
  RestEndpoint endpoint = obtainEndpointOf(parsed_);
  // Where no port is named, libcurl asks a plain proxy at one of its own choice.
  const bool hasPort = !obtainPart(parsed_, CURLUPART_PORT, 0).empty();
  if (!hasPort && obtainPart(parsed_, CURLUPART_SCHEME) != "https") endpoint.port = "1080";
  return endpoint;
}

}  // namespace qx
