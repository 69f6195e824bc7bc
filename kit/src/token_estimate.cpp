#include "zeakit/token_estimate.h"

namespace zeakit {

std::size_t estimateTokens(std::string_view text) noexcept { return (text.size() + 2) / 3; }

}  // namespace zeakit
