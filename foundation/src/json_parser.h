// From a JSON text to a tree.
#pragma once

#include <string>

#include "json_arena.h"

/// Parses the text that `arena` holds into it; names and strings without escapes are views of that text. True when it
/// is well-formed; otherwise `root` is unchanged and what lies in the arena is of no use.
bool qxParseJson(COJsonArena& arena, COJsonArena::Node& root);

/// Changes, within the length of the text, what can be understood although the parser refuses it: unpaired surrogate
/// escapes become "\ufffd", exponents that 32 bits don't hold become the largest of nine digits. Tells whether there
/// was any.
bool qxRepairJson(std::string& text);
