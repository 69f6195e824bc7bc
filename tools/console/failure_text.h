// SPDX-License-Identifier: Apache-2.0
// What servers say when they fail, in a line.
#pragma once

#include <cstdint>
#include <string>

namespace console {

/// `text` as one line: of a page its title, of anything long its beginning; with the status in front where there is one
/// (`code` from 100 on) that it doesn't begin with. A text that is short and plain stays as it is.
std::string shortenFailure(const std::string& text, std::int32_t code);

}  // namespace console
