#include "qx/text.h"

#include <cstddef>
#include <numeric>

#include "text_view.h"

namespace {

// Tab, line feed, vertical tab, form feed and carriage return follow each other.
constexpr bool isWhiteSpace(char character) noexcept {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

}  // namespace

std::string_view qxTrim(std::string_view text) noexcept {
  while (!text.empty() && isWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

std::string qxTrimAsString(std::string_view text) { return std::string(qxTrim(text)); }

std::string qxConcatURL(const std::vector<std::string>& items) {
  std::string url;
  url.reserve(std::accumulate(items.begin(), items.end(), items.size(),
                              [](std::size_t size, const std::string& item) { return size + item.size(); }));
  bool isFirst = true;
  for (const std::string& item : items) {
    // Behind a bare scheme a missing "/" would make the path's first segment the host, and send the key there.
    if (!isFirst && (!url.ends_with('/') || url.ends_with("://"))) url += '/';
    url += item;
    isFirst = false;
  }
  return url;
}
