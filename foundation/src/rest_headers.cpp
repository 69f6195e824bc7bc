#include "rest_headers.h"

#include <algorithm>
#include <new>
#include <string>

#include "qx/text.h"
#include "text_view.h"

namespace {

constexpr std::string_view kDefaultUserAgent = "libqx/" QX_VERSION;

char toLowerASCII(char character) noexcept {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

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
                     [name](const auto& header) { return isSameIgnoringCase(qxTrim(header.first), name); });
}

void appendLine(CurlList& lines, std::string_view name, std::string_view separator, std::string_view value) {
  const std::string line = std::string(name).append(separator).append(value);
  curl_slist* const longer = curl_slist_append(lines.get(), line.c_str());
  if (longer == nullptr) throw std::bad_alloc();
  static_cast<void>(lines.release());  // it is part of the longer one
  lines.reset(longer);
}

bool appendHeader(CurlList& lines, std::string_view name, std::string_view value) {
  name = qxTrim(name);
  value = qxTrim(value);
  if (!isHeaderName(name) || !isHeaderValue(value)) return false;
  // Behind a bare colon libcurl understands that the header is not wanted; an empty one is written like this.
  appendLine(lines, name, value.empty() ? ";" : ": ", value);
  return true;
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

bool RestHeaders::areMadeOf(const HeaderSources& sources) const {
  return session_ == sources.session && request_ == sources.request && userAgent_ == sources.userAgent &&
         contentType_ == sources.contentType && isBodyLarge_ == sources.isBodyLarge;
}

CurlList RestHeaders::make(const HeaderSources& sources) {
  session_ = sources.session;
  request_ = sources.request;
  userAgent_ = sources.userAgent;
  contentType_ = sources.contentType;
  isBodyLarge_ = sources.isBodyLarge;
  sentUserAgent_ = userAgent_.empty() ? std::string(kDefaultUserAgent) : qxTrimAsString(userAgent_);
  if (!isHeaderValue(sentUserAgent_)) return nullptr;

  CurlList lines;
  for (const auto& [name, value] : session_) {
    if (!hasHeader(request_, qxTrim(name)) && !appendHeader(lines, name, value)) return nullptr;
  }
  for (const auto& [name, value] : request_) {
    if (!appendHeader(lines, name, value)) return nullptr;
  }
  const auto appendOwn = [&](std::string_view name, std::string_view value) {
    if (hasHeader(session_, name) || hasHeader(request_, name)) return;
    appendLine(lines, name, value.empty() ? ":" : ": ", value);
  };
  appendOwn("User-Agent", sentUserAgent_);
  appendOwn("Accept-Encoding", "gzip");
  appendOwn("Content-Type", contentType_);
  // Above 1 MB libcurl would ask the server first and wait a second for those that don't answer.
  if (isBodyLarge_) appendLine(lines, "Expect", ":", "");
  return lines;
}

bool RestHeaders::setOn(CurlEasy& easy, const HeaderSources& sources) {
  if (!lines_ || !areMadeOf(sources)) {
    lines_.reset();  // none are taken for another's should memory run out
    lines_ = make(sources);
  }
  easy.set(CURLOPT_HTTPHEADER, lines_.get());
  return lines_ != nullptr;
}
