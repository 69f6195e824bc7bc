// SPDX-License-Identifier: Apache-2.0
// What a text weighs before it is sent.
#pragma once

#include <cstddef>
#include <string_view>

#include "zeakit/export.h"

namespace zeakit {

/// How many tokens a text takes, without any model's tokenizer: rather too many than too few, since models differ by a
/// tenth. Any bytes will do, an empty text takes none, and texts that are joined take about what they take by
/// themselves. For every thread.
[[nodiscard]] ZEAKIT_API std::size_t estimateTokens(std::string_view text) noexcept;

}  // namespace zeakit
