#include "rest_headers.h"

#include <algorithm>

#include "text_view.h"

namespace {

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

bool appendHeaders(HeaderLines& lines, const CMRestParamList& sessionHeaders, const CMRestParamList& requestHeaders,
                   std::initializer_list<StandardHeader> standardHeaders) {
  for (const auto& [name, value] : sessionHeaders) {
    if (!hasHeader(requestHeaders, qxTrim(name)) && !appendHeader(lines, name, value)) return false;
  }
  for (const auto& [name, value] : requestHeaders) {
    if (!appendHeader(lines, name, value)) return false;
  }
  for (const auto& [name, value] : standardHeaders) {
    if (hasHeader(sessionHeaders, name) || hasHeader(requestHeaders, name)) continue;
    lines.append({name, value.empty() ? ":" : ": ", value});
  }
  return true;
}
