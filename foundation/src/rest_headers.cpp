// SPDX-License-Identifier: Apache-2.0
#include "rest_headers.h"

#include <algorithm>
#include <new>
#include <string>

#include "qx/secret.h"
#include "qx/version.h"
#include "text_view.h"

namespace qx {

namespace {

constexpr std::string_view kDefaultUserAgent = "libqx/" QX_VERSION;

// The C library's own depends on the locale, which is the host's.
char toLowerASCII(char character) noexcept {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

// Anything else could end the name early, and what follows would be read as something else.
bool isTokenCharacter(char character) noexcept {
  const char lower = toLowerASCII(character);
  return (lower >= 'a' && lower <= 'z') || (lower >= '0' && lower <= '9') ||
         std::string_view("!#$%&'*+-.^_`|~").find(lower) != std::string_view::npos;
}

bool isHeaderName(std::string_view name) noexcept {
  return !name.empty() && std::all_of(name.begin(), name.end(), isTokenCharacter);
}

bool hasHeader(const CMRestParamList& headers, std::string_view name) noexcept {
  return std::any_of(headers.begin(), headers.end(),
                     [name](const auto& header) { return isSameIgnoringCase(trim(header.first), name); });
}

void appendLine(CurlList& lines, std::string_view name, std::string_view separator, std::string_view value) {
  std::string line;
  line.reserve(name.size() + separator.size() + value.size());
  line.append(name).append(separator).append(value);
  // Wiped whatever comes of it: the value may be a key, and libcurl has a copy.
  const bool isAppended = appendTo(lines, line);
  qxWipe(line);
  if (!isAppended) throw std::bad_alloc();
}

bool appendHeader(CurlList& lines, std::string_view name, std::string_view value) {
  name = trim(name);
  value = trim(value);
  if (!isHeaderName(name) || !isHeaderValue(value)) return false;
  // After a bare colon libcurl understands that the header is not wanted; an empty one is written like this.
  appendLine(lines, name, value.empty() ? ";" : ": ", value);
  return true;
}

/// Null when a name or a value may not stand in a header.
CurlList makeLines(const HeaderSources& sources) {
  if (!isHeaderValue(trim(sources.userAgent))) return nullptr;
  CurlList lines;
  for (const auto& [name, value] : sources.session) {
    if (!hasHeader(sources.request, trim(name)) && !appendHeader(lines, name, value)) return nullptr;
  }
  for (const auto& [name, value] : sources.request) {
    if (!appendHeader(lines, name, value)) return nullptr;
  }
  // An own header only where neither source has one: a host may ask for something special.
  const auto appendOwn = [&](std::string_view name, std::string_view value) {
    if (hasHeader(sources.session, name) || hasHeader(sources.request, name)) return;
    appendLine(lines, name, value.empty() ? ":" : ": ", value);
  };
  appendOwn("User-Agent", sources.userAgent.empty() ? kDefaultUserAgent : trim(sources.userAgent));
  appendOwn("Accept-Encoding", "gzip");
  appendOwn("Content-Type", sources.contentType);
  // Above 1 MB libcurl would ask the server first and wait a second for those that don't answer.
  if (sources.isBodyLarge) appendLine(lines, "Expect", ":", "");
  return lines;
}

}  // namespace

bool isSameIgnoringCase(std::string_view left, std::string_view right) noexcept {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char one, char other) { return toLowerASCII(one) == toLowerASCII(other); });
}

bool isHeaderValue(std::string_view value) noexcept {
  return std::none_of(value.begin(), value.end(), [](char character) {
    const auto code = static_cast<unsigned char>(character);
    return (code < 0x20 && character != '\t') || code == 0x7f;
  });
}

std::string obtainSentUserAgent(const std::string& userAgent) {
  if (userAgent.empty()) return std::string(kDefaultUserAgent);
  return isHeaderValue(trim(userAgent)) ? std::string(trim(userAgent)) : std::string();
}

RestHeaders::~RestHeaders() { clear(); }

void RestHeaders::clear() noexcept {
  lines_.reset();
  for (CMRestParamList* const headers : {&session_, &request_}) {
    qxWipe(*headers);
    headers->clear();
  }
}

bool RestHeaders::setOn(CurlEasy& easy, const HeaderSources& sources) {
  auto own = std::tie(session_, request_, userAgent_, contentType_, isBodyLarge_);
  if (!lines_ || own != sources.asTuple()) {
    clear();  // none are taken for another's should memory run out
    own = sources.asTuple();
    lines_ = makeLines(sources);
  }
  easy.set(CURLOPT_HTTPHEADER, lines_.get());
  return lines_ != nullptr;
}

}  // namespace qx
