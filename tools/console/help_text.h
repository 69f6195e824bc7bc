// SPDX-License-Identifier: Apache-2.0
// The help of the command line.
#pragma once

#include <string>

namespace console {

/// Breaks the lines of a help text that are longer than a terminal is wide, 80 columns; what goes on stands below
/// where the description began.
std::string wrapHelp(const std::string& help, std::size_t descriptionColumn);

/// The word among those of a list, separated by ", ", that `typed` most likely meant; empty when none is near.
std::string nearestWord(const std::string& typed, const std::string& list);

}  // namespace console
