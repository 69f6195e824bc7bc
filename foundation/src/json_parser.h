// SPDX-License-Identifier: Apache-2.0
// From a JSON text to a tree.
#pragma once

#include <cstdint>
#include <string>

#include "json_arena.h"

namespace qx {

enum class JsonResult { Parsed, NotJson, TooLarge };

/// Parses the text that `arena` holds into it; names and strings without escapes are views of that text. Gives up as
/// soon as the values would take more than `mostValueBytes` of memory: 32 bytes each and as many again for an object or
/// array. Unless the text was parsed `root` is unchanged and what lies in the arena is of no use.
JsonResult parseJson(JsonArena& arena, JsonNode& root, std::uint64_t mostValueBytes);

/// Changes, within the length of the text, what can be understood although the parser refuses it: unpaired surrogate
/// escapes become "\ufffd", exponents that 32 bits don't hold become the largest of nine digits. Tells whether there
/// was any.
bool repairJson(std::string& text);

}  // namespace qx
