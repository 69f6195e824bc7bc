// SPDX-License-Identifier: Apache-2.0
// Numbers in texts, independent of the locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qx {

/// The floating point number that the text begins with, rounded exactly; 0 when it begins with none. What is too
/// large for a double is infinite.
double readDouble(std::string_view text);

/// The number that the hexadecimal digits stand for; nothing when one of them is none.
std::optional<std::uint32_t> readHex(std::string_view digits);

}  // namespace qx
