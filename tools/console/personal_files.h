// SPDX-License-Identifier: Apache-2.0
// Where the program keeps what is its user's.
#pragma once

#include <string>

namespace console {

/// Folders of the user's own by the rules of XDG, without a slash at the end; empty where neither the variable nor HOME
/// names one. They need not exist.
std::string obtainConfigFolder();
std::string obtainDataFolder();
std::string obtainStateFolder();

/// Makes a folder, and those around it, which nobody else may read. A sentence about why it isn't there, or nothing.
std::string makeFolder(const std::string& folder);

}  // namespace console
