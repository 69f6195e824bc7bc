// SPDX-License-Identifier: Apache-2.0
// The words of names and questions.
#pragma once

#include <string>
#include <string_view>

namespace zeakit {

/// Calls `take` with each word of a text, in lower case as far as ASCII goes: split at what is neither letter nor
/// digit, where case changes ("orderDate", "XMLFile") and between letters and digits. Bytes outside ASCII count as
/// letters; of runs of East Asian characters, which nothing separates, each pair of neighbours is a word.
template <class Take>
void forEachWord(std::string_view text, Take take);

namespace words {

enum class Class : unsigned char { Other, Lower, Upper, Digit, Wide };

inline Class classOf(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  if (value >= 'a' && value <= 'z') return Class::Lower;
  if (value >= 'A' && value <= 'Z') return Class::Upper;
  if (value >= '0' && value <= '9') return Class::Digit;
  if (value < 0x80) return Class::Other;
  return value >= 0xe3 && value <= 0xed ? Class::Wide : Class::Lower;
}

}  // namespace words

template <class Take>
void forEachWord(std::string_view text, Take take) {
  using words::Class;
  std::string word;
  std::size_t at = 0;
  const auto classAt = [&](std::size_t index) {
    return index < text.size() ? words::classOf(text[index]) : Class::Other;
  };
  while (at < text.size()) {
    const Class first = classAt(at);
    if (first == Class::Other) {
      ++at;
      continue;
    }
    std::size_t end = at + 1;
    if (first == Class::Wide) {
      // Characters of three bytes. What is cut off or malformed still advances.
      if (classAt(at + 3) == Class::Wide && at + 6 <= text.size()) {
        take(text.substr(at, 6));
      } else if (at < 3 || classAt(at - 3) != Class::Wide) {
        take(text.substr(at, 3));
      }
      at += 3;
      continue;
    }
    if (first == Class::Digit) {
      while (classAt(end) == Class::Digit) ++end;
    } else {
      while (classAt(end) == Class::Upper) ++end;
      // The last capital of several begins the next word: "XMLFile".
      if (end > at + 1 && classAt(end) == Class::Lower) --end;
      if (end == at + 1) {
        while (classAt(end) == Class::Lower) ++end;
      }
    }
    word.assign(text.substr(at, end - at));
    for (char& byte : word) {
      if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
    }
    take(std::string_view(word));
    at = end;
  }
}

}  // namespace zeakit
