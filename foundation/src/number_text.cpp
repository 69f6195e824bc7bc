// SPDX-License-Identifier: Apache-2.0
#include "number_text.h"

#include <charconv>
#include <limits>
#include <system_error>

namespace qx {

namespace {

/// Whether a number outside a double's range is too large rather than too small: by the power of ten of its first
/// digit, since std::from_chars reports the same error for both.
bool isTooLarge(std::string_view number) {
  const std::size_t exponentAt = number.find_first_of("eE");
  std::int64_t power = 0;
  bool isFraction = false;
  bool isLeading = true;
  for (const char c : number.substr(0, exponentAt)) {
    if (c == '.') isFraction = true;
    if (c >= '1' && c <= '9') isLeading = false;
    if (c < '0' || c > '9') continue;
    if (!isFraction && !isLeading) ++power;
    if (isFraction && isLeading) --power;
  }
  if (exponentAt == std::string_view::npos) return power > 0;

  number.remove_prefix(exponentAt + 1);
  const bool isNegative = number.starts_with('-');
  if (number.starts_with('+')) number.remove_prefix(1);
  std::int64_t exponent = 0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), exponent);
  if (result.ec == std::errc::result_out_of_range) return !isNegative;
  return exponent > -power;
}

}  // namespace

double readDouble(std::string_view text) {
  const std::size_t digitsAt = text.starts_with('-') ? 1 : 0;
  // std::from_chars knows "inf" and "nan" too, which are no numbers here.
  if (text.find_first_of("0123456789.", digitsAt) != digitsAt) return 0;
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc::result_out_of_range) return value;
  value = isTooLarge({text.data(), static_cast<std::size_t>(end - text.data())})
              ? std::numeric_limits<double>::infinity()
              : 0.0;
  return digitsAt == 1 ? -value : value;
}

std::optional<std::uint32_t> readHex(std::string_view digits) {
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return value;
}

}  // namespace qx
