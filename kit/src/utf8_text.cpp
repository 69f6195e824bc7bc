// SPDX-License-Identifier: Apache-2.0
#include "utf8_text.h"

#include <cstddef>

namespace zeakit {

namespace {

/// The length of the character at the begin of the text; 0 when there is none.
std::size_t characterLength(std::string_view text) {
  const auto byteAt = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned lead = byteAt(0);
  if (lead < 0x80) return 1;
  const std::size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
  if (length == 0 || text.size() < length) return 0;
  for (std::size_t index = 1; index < length; ++index) {
    if ((byteAt(index) & 0xC0U) != 0x80) return 0;
  }
  // Overlong forms, surrogates and what lies past the last character.
  const unsigned second = byteAt(1);
  const bool isWrong = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                       (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
  return isWrong ? 0 : length;
}

}  // namespace

std::string repairUtf8(std::string_view text) {
  std::string repaired;
  repaired.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    repaired += length > 0 ? text.substr(0, length) : "\xEF\xBF\xBD";
    text.remove_prefix(length > 0 ? length : 1);
  }
  return repaired;
}

std::string commentText(std::string_view text) {
  std::string line;
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    const char shown = value < 0x20 || value == 0x7F ? ' ' : byte;
    const char last = line.empty() ? ' ' : line.back();
    if ((last == '*' && shown == '/') || (last == '/' && shown == '*')) line += ' ';
    line += shown;
  }
  return line;
}

}  // namespace zeakit
