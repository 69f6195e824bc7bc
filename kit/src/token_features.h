// SPDX-License-Identifier: Apache-2.0
// What of a text decides how many tokens it takes.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace zeakit {

/// What is counted. Words are runs of ASCII letters, cut where case changes ("orderDate").
enum class TokenFeature {
  Words,           // with a small letter in them, or of one letter
  LongLetters,     // of such words, behind the twelfth letter
  CapitalWords,    // of two letters or more, capitals only
  CapitalLetters,  // of these, behind the second letter
  Digits,
  Underscores,
  MarkRuns,  // runs of other printable characters
  Marks,     // of such runs, behind the third one
  Spaces,    // line feeds and other white space, but not one space ahead of a word
  Accents,   // Latin letters outside ASCII; they cut words
  Letters2,  // other characters of two bytes in UTF-8
  Letters3,
  Letters4,
  StrayBytes,  // bytes that are no UTF-8, and controls
  Count
};

using TokenFeatures = std::array<std::size_t, static_cast<std::size_t>(TokenFeature::Count)>;

TokenFeatures countTokenFeatures(std::string_view text) noexcept;

}  // namespace zeakit
