// SPDX-License-Identifier: Apache-2.0
// Texts of a catalog, made fit for a document and for a comment.
#pragma once

#include <string>
#include <string_view>

namespace zeakit {

/// The text with U+FFFD in place of each byte that belongs to no UTF-8 character.
std::string repairUtf8(std::string_view text);

/// One line that can stand between "/*" and "*/": control characters are spaces, "/*" and "*/" are pulled apart.
std::string commentText(std::string_view text);

}  // namespace zeakit
