#include "rest_headers.h"

#include <algorithm>

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

bool appendHeader(HeaderLines& lines, std::string_view name, std::string_view value) {
  name = qxTrim(name);
  value = qxTrim(value);
  if (!isHeaderName(name) || !isHeaderValue(value)) return false;
  // Behind a bare colon libcurl understands that the header is not wanted; an empty one is written like this.
  lines.append({name, value.empty() ? ";" : ": ", value});
  return true;
}

}  // namespace

void HeaderLines::append(std::initializer_list<std::string_view> pieces) {
  for (const std::string_view piece : pieces) text_ += piece;
  text_ += '\0';
  ++lines_;
}

curl_slist* HeaderLines::obtainList() {
  list_.clear();
  list_.reserve(lines_);
  for (std::size_t begin = 0; begin < text_.size(); begin = text_.find('\0', begin) + 1) {
    if (!list_.empty()) list_.back().next = list_.data() + list_.size();  // where the next one comes
    list_.push_back({text_.data() + begin, nullptr});
  }
  return list_.empty() ? nullptr : list_.data();
}

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

bool RestHeaders::make(const HeaderSources& sources) {
  session_ = sources.session;
  request_ = sources.request;
  userAgent_ = sources.userAgent;
  contentType_ = sources.contentType;
  isBodyLarge_ = sources.isBodyLarge;
  sentUserAgent_ = userAgent_.empty() ? std::string(kDefaultUserAgent) : qxTrimAsString(userAgent_);
  lines_ = {};

  for (const auto& [name, value] : session_) {
    if (!hasHeader(request_, qxTrim(name)) && !appendHeader(lines_, name, value)) return false;
  }
  for (const auto& [name, value] : request_) {
    if (!appendHeader(lines_, name, value)) return false;
  }
  const auto appendOwn = [this](std::string_view name, std::string_view value) {
    if (!hasHeader(session_, name) && !hasHeader(request_, name))
      lines_.append({name, value.empty() ? ":" : ": ", value});
  };
  if (!isHeaderValue(sentUserAgent_)) return false;
  appendOwn("User-Agent", sentUserAgent_);
  appendOwn("Accept-Encoding", "gzip");
  appendOwn("Content-Type", contentType_);
  // Above 1 MB libcurl would ask the server first and wait a second for those that don't answer.
  if (isBodyLarge_) lines_.append({"Expect:"});
  return true;
}

bool RestHeaders::setOn(CurlEasy& easy, const HeaderSources& sources) {
  if (list_ == nullptr || !areMadeOf(sources)) {
    list_ = nullptr;  // none are taken for another's should memory run out
    if (!make(sources)) return false;
    list_ = lines_.obtainList();
  }
  easy.set(CURLOPT_HTTPHEADER, list_);
  return true;
}
