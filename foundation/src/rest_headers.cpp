#include "rest_headers.h"

#include <algorithm>
#include <string>

#include "qx/text.h"

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

bool hasHeader(const CMRestParamList& headers, std::string_view name) {
  return std::any_of(headers.begin(), headers.end(),
                     [name](const auto& header) { return isSameIgnoringCase(qxTrimAsString(header.first), name); });
}

bool appendHeader(CurlList& lines, const std::string& name, const std::string& value) {
  const std::string trimmedName = qxTrimAsString(name);
  const std::string trimmedValue = qxTrimAsString(value);
  if (!isHeaderName(trimmedName) || !isHeaderValue(trimmedValue)) return false;
  // Behind a bare colon libcurl understands that the header is not wanted; an empty one is written like this.
  lines.append((trimmedValue.empty() ? trimmedName + ";" : trimmedName + ": " + trimmedValue).c_str());
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

std::optional<CurlList> createHeaderLines(const CMRestParamList& sessionHeaders, const CMRestParamList& requestHeaders,
                                          std::string_view contentType) {
  CurlList lines;
  for (const auto& [name, value] : sessionHeaders) {
    if (hasHeader(requestHeaders, qxTrimAsString(name))) continue;
    if (!appendHeader(lines, name, value)) return std::nullopt;
  }
  for (const auto& [name, value] : requestHeaders) {
    if (!appendHeader(lines, name, value)) return std::nullopt;
  }
  if (!hasHeader(sessionHeaders, "Content-Type") && !hasHeader(requestHeaders, "Content-Type")) {
    lines.append(("Content-Type:" + std::string(contentType)).c_str());
  }
  // Above 1 MB libcurl would ask the server first and wait a second for those that don't answer.
  lines.append("Expect:");
  return lines;
}
