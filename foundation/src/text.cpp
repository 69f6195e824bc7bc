#include "qx/text.h"

std::string qxTrimAsString(std::string_view text) {
  constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
  const std::size_t begin = text.find_first_not_of(kWhiteSpace);
  if (begin == std::string_view::npos) return {};
  return std::string(text.substr(begin, text.find_last_not_of(kWhiteSpace) - begin + 1));
}

std::string qxConcatURL(const std::vector<std::string>& items) {
  std::string url;
  bool isFirst = true;
  for (const std::string& item : items) {
    // Behind a bare scheme a missing "/" would make the path's first segment the host, and send the key there.
    if (!isFirst && (!url.ends_with('/') || url.ends_with("://"))) url += '/';
    url += item;
    isFirst = false;
  }
  return url;
}
