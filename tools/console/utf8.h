// SPDX-License-Identifier: Apache-2.0
// Texts of unknown origin, made safe for those who receive them.
#pragma once

#include <string>
#include <string_view>

namespace console {

/// The text with every byte sequence that is no UTF-8 replaced by U+FFFD. The library sends bytes as they are, and a
/// provider refuses a whole request for one bad byte in a table's name.
std::string repairUtf8(std::string_view text);

/// The text as it may go to a terminal: valid UTF-8, and control characters other than line feed and tab, those that
/// turn the direction of writing among them, replaced by U+FFFD, so that no answer drives the terminal. A carriage
/// return ahead of a line feed is left out.
std::string makePrintable(std::string_view text);

}  // namespace console
