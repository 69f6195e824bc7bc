// From a tree to a JSON text.
#pragma once

#include <string>

#include "json_arena.h"

/// Appends the JSON text of `root`, of whatever depth, without white space between tokens.
void qxWriteJson(const COJsonArena::Node& root, std::string& text);
