// SPDX-License-Identifier: Apache-2.0
#include "text_view.h"

namespace qx {

namespace {

// Tab, line feed, vertical tab, form feed and carriage return follow each other.
constexpr bool isWhiteSpace(char character) noexcept {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

}  // namespace

std::string_view trim(std::string_view text) noexcept {
  while (!text.empty() && isWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace qx
