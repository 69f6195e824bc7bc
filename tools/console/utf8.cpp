// SPDX-License-Identifier: Apache-2.0
#include "console/utf8.h"

#include <cstddef>
#include <cstdint>

namespace console {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Sequence {
  std::size_t length;  // of the character, or of the bytes that one replacement stands for
  bool isValid;
};

// The lead bytes of one kind: how many bytes follow, and the range of the first of them, which keeps out overlong
// forms, surrogates and numbers above U+10FFFF.
struct Lead {
  std::size_t following;
  std::uint8_t low;
  std::uint8_t high;
};

Lead leadOf(std::uint8_t byte) {
  if (byte < 0xC2) return {0, 0, 0};
  if (byte < 0xE0) return {1, 0x80, 0xBF};
  if (byte == 0xE0) return {2, 0xA0, 0xBF};
  if (byte == 0xED) return {2, 0x80, 0x9F};
  if (byte < 0xF0) return {2, 0x80, 0xBF};
  if (byte == 0xF0) return {3, 0x90, 0xBF};
  if (byte < 0xF4) return {3, 0x80, 0xBF};
  if (byte == 0xF4) return {3, 0x80, 0x8F};
  return {0, 0, 0};
}

Sequence sequenceAt(std::string_view text, std::size_t at) {
  const auto byteAt = [text](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
  if (byteAt(at) < 0x80) return {1, true};
  Lead lead = leadOf(byteAt(at));
  if (lead.following == 0) return {1, false};
  for (std::size_t index = 1; index <= lead.following; ++index) {
    const bool isThere = at + index < text.size();
    if (!isThere || byteAt(at + index) < lead.low || byteAt(at + index) > lead.high) return {index, false};
    lead = {lead.following, 0x80, 0xBF};
  }
  return {lead.following + 1, true};
}

/// U+202A to U+202E and U+2066 to U+2069 turn around what stands beside them: a statement would read as another one.
bool isDirection(std::string_view character) {
  return (character >= "\xE2\x80\xAA" && character <= "\xE2\x80\xAE") ||
         (character >= "\xE2\x81\xA6" && character <= "\xE2\x81\xA9");
}

bool isControl(std::string_view character) {
  const auto first = static_cast<std::uint8_t>(character[0]);
  if (first == 0xC2) return static_cast<std::uint8_t>(character[1]) < 0xA0;
  if (isDirection(character)) return true;
  return (first < 0x20 && first != '\n' && first != '\t') || first == 0x7F;
}

}  // namespace

std::string repairUtf8(std::string_view text) {
  std::string repaired;
  repaired.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const Sequence sequence = sequenceAt(text, at);
    repaired += sequence.isValid ? text.substr(at, sequence.length) : kReplacement;
    at += sequence.length;
  }
  return repaired;
}

std::string makePrintable(std::string_view text) {
  std::string printable;
  printable.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const Sequence sequence = sequenceAt(text, at);
    const std::string_view character = text.substr(at, sequence.length);
    at += sequence.length;
    if (character == "\r" && at < text.size() && text[at] == '\n') continue;
    printable += sequence.isValid && !isControl(character) ? character : kReplacement;
  }
  return printable;
}

}  // namespace console
