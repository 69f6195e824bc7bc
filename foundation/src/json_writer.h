// SPDX-License-Identifier: Apache-2.0
// From a tree to a JSON text.
#pragma once

#include <string>

#include "json_node.h"

namespace qx {

/// Appends the JSON text of `root`, of whatever depth, without white space between tokens.
void writeJson(const JsonNode& root, std::string& text);

}  // namespace qx
