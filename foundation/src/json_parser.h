// From a JSON text to a tree.
#pragma once

#include <string>

#include "json_arena.h"

/// Parses the text that `arena` holds into it; names and strings without escapes are views of that text. True when it
/// is well-formed; otherwise `root` is unchanged and what lies in the arena is of no use.
bool qxParseJson(COJsonArena& arena, COJsonArena::Node& root);

/// Turns each unpaired surrogate escape into "\ufffd" and tells whether there was one.
bool qxRepairSurrogates(std::string& text);
