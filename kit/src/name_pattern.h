// SPDX-License-Identifier: Apache-2.0
// Patterns that a host names schemas, tables and columns by.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zeakit {

/// Whether the whole name matches: "*" stands for any bytes, also none, "?" for one byte, every other byte for itself,
/// ASCII letters in either case. The time is at most the product of both lengths.
bool matchesPattern(std::string_view pattern, std::string_view name) noexcept;

/// Whether the name matches one of the patterns at least.
bool matchesAny(const std::vector<std::string>& patterns, std::string_view name) noexcept;

}  // namespace zeakit
