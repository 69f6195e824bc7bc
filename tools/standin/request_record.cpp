// SPDX-License-Identifier: Apache-2.0
#include "standin/request_record.h"

#include <strings.h>

#include <algorithm>
#include <array>

namespace standin {

namespace {

constexpr const char* kHidden = "(hidden)";

bool isCredential(const std::string& header) {
  constexpr std::array<const char*, 6> names = {"Authorization", "Proxy-Authorization", "X-Api-Key",
                                                "Api-Key",       "X-Goog-Api-Key",      "Cookie"};
  return std::any_of(names.begin(), names.end(),
                     [&header](const char* name) { return ::strcasecmp(header.c_str(), name) == 0; });
}

// The target with the value of its query parameter "key" replaced.
std::string hideKey(const std::string& target) {
  constexpr std::string_view name = "key=";
  std::string text;
  std::size_t begin = 0;
  while (begin <= target.size()) {
    const std::size_t end = std::min(target.find_first_of("?&", begin), target.size());
    const std::string_view part = std::string_view(target).substr(begin, end - begin);
    text += begin > 0 && part.starts_with(name) ? std::string(name) + kHidden : std::string(part);
    if (end < target.size()) text += target[end];
    begin = end + 1;
  }
  return text;
}

}  // namespace

std::string describeRequest(const Request& request) {
  std::string text = request.method + " " + hideKey(request.target) + "\n";
  for (const auto& [name, value] : request.headers) text += name + ": " + (isCredential(name) ? kHidden : value) + "\n";
  return text + "\n" + request.body + (request.body.empty() ? "" : "\n\n");
}

}  // namespace standin
