// SPDX-License-Identifier: Apache-2.0
#include "name_pattern.h"

#include <algorithm>
#include <cstddef>

namespace zeakit {

namespace {

// Of the C locale, whatever the host's is.
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

bool matchesPattern(std::string_view pattern, std::string_view name) noexcept {
  std::size_t p = 0;
  std::size_t n = 0;
  // Where to go on when what follows the last "*" does not fit: that star takes one byte more. An earlier star never
  // has to be tried again.
  std::size_t starPattern = std::string_view::npos;
  std::size_t starName = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      starPattern = ++p;
      starName = n;
    } else if (p < pattern.size() && (pattern[p] == '?' || lower(pattern[p]) == lower(name[n]))) {
      ++p;
      ++n;
    } else if (starPattern != std::string_view::npos) {
      p = starPattern;
      n = ++starName;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

bool matchesAny(const std::vector<std::string>& patterns, std::string_view name) noexcept {
  return std::any_of(patterns.begin(), patterns.end(),
                     [&](const std::string& pattern) { return matchesPattern(pattern, name); });
}

}  // namespace zeakit
