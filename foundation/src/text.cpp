// SPDX-License-Identifier: Apache-2.0
#include "qx/text.h"

#include <cstddef>
#include <numeric>

#include "text_view.h"

std::string qxTrimAsString(std::string_view text) { return std::string(qx::trim(text)); }

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
