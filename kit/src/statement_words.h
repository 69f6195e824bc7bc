// SPDX-License-Identifier: Apache-2.0
// What a statement of SQL looks like in a text for people.
#pragma once

#include <cstddef>
#include <string_view>

namespace zeakit {

/// Nothing but white space.
bool isBlank(std::string_view text);

/// Whether the text is a statement and no sentence: "SELECT id FROM t" is one, "Select the rows" isn't.
bool isStatement(std::string_view text);

/// The statement that begins where a line begins, as far as its semicolon or the next blank line; empty when none does.
std::string_view findStatement(std::string_view text);

}  // namespace zeakit
