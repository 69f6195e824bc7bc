// How many tokens a text is for a chat model, without any model's tokenizer.
#pragma once

#include <cstddef>
#include <string_view>

#include "zeakit/export.h"

namespace zeakit {

/// An estimate of the number of tokens, meant as an upper bound over the tokenizers in use. The text is bytes; 0 for an
/// empty one. Never throws; any thread may ask.
[[nodiscard]] ZEAKIT_API std::size_t estimateTokens(std::string_view text) noexcept;

}  // namespace zeakit
