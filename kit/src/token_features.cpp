// SPDX-License-Identifier: Apache-2.0
#include "token_features.h"

#include <algorithm>

namespace zeakit {

namespace {

enum Class : unsigned char {
  Small,
  Capital,
  Digit,
  Underscore,
  Mark,
  Space,
  Blank,
  Accent,
  Lead2,
  Lead3,
  Lead4,
  Stray
};

constexpr std::array<Class, 256> makeClasses() {
  std::array<Class, 256> classes{};
  for (std::size_t byte = 0; byte < 256; ++byte) {
    Class& value = classes[byte];
    if (byte < 0x20 || byte == 0x7f)
      value = Stray;
    else if (byte >= '0' && byte <= '9')
      value = Digit;
    else if (byte >= 'a' && byte <= 'z')
      value = Small;
    else if (byte >= 'A' && byte <= 'Z')
      value = Capital;
    else if (byte < 0x80)
      value = Mark;
    else if (byte < 0xc2)
      value = Stray;
    else if (byte < 0xcb)
      value = Accent;
    else if (byte < 0xe0)
      value = Lead2;
    else if (byte < 0xf0)
      value = Lead3;
    else
      value = byte < 0xf5 ? Lead4 : Stray;
  }
  classes[' '] = Blank;
  classes['_'] = Underscore;
  for (const char byte : {'\t', '\n', '\r', '\f', '\v'}) classes[static_cast<unsigned char>(byte)] = Space;
  return classes;
}

constexpr std::array<Class, 256> kClasses = makeClasses();

}  // namespace

TokenFeatures countTokenFeatures(std::string_view text) noexcept {
  TokenFeatures counts{};
  const auto count = [&](TokenFeature feature) -> std::size_t& { return counts[static_cast<std::size_t>(feature)]; };
  const char* at = text.data();
  const char* const end = at + text.size();
  const auto classAt = [&](const char* byte) {
    return byte < end ? kClasses[static_cast<unsigned char>(*byte)] : Stray;
  };
  const auto skip = [&](const char* from, Class kind) {
    while (from < end && kClasses[static_cast<unsigned char>(*from)] == kind) ++from;
    return from;
  };
  const auto lengthOf = [](const char* from, const char* to) { return static_cast<std::size_t>(to - from); };
  while (at < end) {
    const char* next = at + 1;
    switch (const Class kind = kClasses[static_cast<unsigned char>(*at)]; kind) {
      case Capital: {
        next = skip(next, Capital);
        if (next > at + 1 && classAt(next) == Small) --next;  // it begins the next word
        if (next > at + 1) {
          ++count(TokenFeature::CapitalWords);
          count(TokenFeature::CapitalLetters) += lengthOf(at, next) - 2;
          break;
        }
        [[fallthrough]];
      }
      case Small: {
        next = skip(next, Small);
        ++count(TokenFeature::Words);
        count(TokenFeature::LongLetters) += std::max<std::size_t>(lengthOf(at, next), 12) - 12;
        break;
      }
      case Digit:
        next = skip(next, Digit);
        count(TokenFeature::Digits) += lengthOf(at, next);
        break;
      case Underscore:
        ++count(TokenFeature::Underscores);
        break;
      case Mark:
        next = skip(next, Mark);
        ++count(TokenFeature::MarkRuns);
        count(TokenFeature::Marks) += std::max<std::size_t>(lengthOf(at, next), 3) - 3;
        break;
      case Blank:
        // Of a run the last one belongs to the word behind it, and the others are one token.
        next = skip(next, Blank);
        if (next > at + 1) count(TokenFeature::Spaces) += 1 + lengthOf(at, next) / 16;
        break;
      case Space:
        next = skip(next, Space);
        count(TokenFeature::Spaces) += 1 + lengthOf(at, next) / 16;
        break;
      case Accent:
      case Lead2:
      case Lead3:
      case Lead4: {
        const std::ptrdiff_t length = kind <= Lead2 ? 2 : kind == Lead3 ? 3 : 4;
        while (next < end && next - at < length && (static_cast<unsigned char>(*next) & 0xc0U) == 0x80) ++next;
        const auto feature = static_cast<TokenFeature>(static_cast<int>(TokenFeature::Accents) + kind - Accent);
        ++count(next - at == length ? feature : TokenFeature::StrayBytes);
        break;
      }
      case Stray:
        ++count(TokenFeature::StrayBytes);
        break;
    }
    at = next;
  }
  return counts;
}

}  // namespace zeakit
