// SPDX-License-Identifier: Apache-2.0
#include "name_mentions.h"

#include <algorithm>

namespace zeakit {

namespace {

bool isOfWord(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || byte == '_' ||
         static_cast<unsigned char>(byte) >= 0x80;
}

bool isWordOf(const std::string& text, const std::string& name) {
  for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1)) {
    const std::size_t end = at + name.size();
    if ((at == 0 || !isOfWord(text[at - 1])) && (end == text.size() || !isOfWord(text[end]))) return true;
  }
  return false;
}

}  // namespace

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  for (char& byte : lower) {
    if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
  }
  return lower;
}

void NameMentions::add(std::string_view name) {
  if (!name.empty()) names_.insert(lowerCase(name));
}

bool NameMentions::areIn(std::string_view text) const {
  if (names_.empty()) return false;
  const std::string words = lowerCase(text);
  return std::any_of(names_.begin(), names_.end(), [&words](const std::string& name) {
    return name.size() >= 4 ? words.find(name) != std::string::npos : isWordOf(words, name);
  });
}

}  // namespace zeakit
