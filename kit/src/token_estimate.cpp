// SPDX-License-Identifier: Apache-2.0
#include "zeakit/token_estimate.h"

#include <cmath>

#include "token_features.h"

namespace zeakit {

namespace {

// Tokens for each of what is counted, in the order of TokenFeature. Written by scripts/fit-tokens.
constexpr double kTokens[] = {
    1.028,  // Words
    0.250,  // LongLetters
    0.759,  // CapitalWords
    0.137,  // CapitalLetters
    0.579,  // Digits
    0.670,  // Underscores
    1.099,  // MarkRuns
    0.250,  // Marks
    0.756,  // Spaces
    3.767,  // Accents
    0.554,  // Letters2
    0.836,  // Letters3
    2.000,  // Letters4
    1.000,  // StrayBytes
};

}  // namespace

std::size_t estimateTokens(std::string_view text) noexcept {
  const TokenFeatures counts = countTokenFeatures(text);
  double tokens = 0;
  for (std::size_t feature = 0; feature < counts.size(); ++feature) {
    tokens += static_cast<double>(counts[feature]) * kTokens[feature];
  }
  return static_cast<std::size_t>(std::ceil(tokens));
}

}  // namespace zeakit
