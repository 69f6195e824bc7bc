// SPDX-License-Identifier: Apache-2.0
#include "console/failure_text.h"

#include <algorithm>
#include <string_view>

namespace console {

namespace {

constexpr std::size_t kLongestLine = 400;

std::string lowerCase(std::string text) {
  for (char& byte : text) {
    if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
  }
  return text;
}

/// The title of a page; the text itself when it is none or has none.
std::string titleOf(const std::string& text) {
  const std::string lower = lowerCase(text.substr(0, 4096));
  if (lower.find("<html") == lower.npos && lower.find("<!doctype") == lower.npos) return text;
  const std::size_t tag = lower.find("<title");
  const std::size_t begin = tag == lower.npos ? tag : lower.find('>', tag);
  const std::size_t end = begin == lower.npos ? begin : lower.find("</title", begin);
  return end == lower.npos ? "a page instead of an answer" : text.substr(begin + 1, end - begin - 1);
}

std::string inOneLine(const std::string& text) {
  std::string line;
  for (const char byte : text) {
    const bool isSpace = byte == ' ' || byte == '\n' || byte == '\r' || byte == '\t';
    if (!isSpace) line += byte;
    if (isSpace && !line.empty() && line.back() != ' ') line += ' ';
  }
  while (!line.empty() && line.back() == ' ') line.pop_back();
  return line;
}

}  // namespace

std::string shortenFailure(const std::string& text, std::int32_t code) {
  std::string line = inOneLine(titleOf(text));
  if (line.size() > kLongestLine) {
    std::size_t end = kLongestLine;
    // Not in the middle of a character.
    while (end > 0 && (static_cast<unsigned char>(line[end]) & 0xC0U) == 0x80U) --end;
    line = line.substr(0, end) + " ... (--raw shows all)";
  }
  const bool isStatus = code >= 300 && line.find(std::to_string(code)) == line.npos;
  return isStatus ? "HTTP " + std::to_string(code) + ": " + line : line;
}

}  // namespace console
