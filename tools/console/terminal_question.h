// SPDX-License-Identifier: Apache-2.0
// Questions of the program to its user.
#pragma once

#include <string>

namespace console {

/// Whether somebody sits at a terminal on standard input and standard error.
bool isAnybodyThere();

/// Shows a question that is answered with one key, y or n; Enter means `usual`, Ctrl-C, Ctrl-D and any other key no.
/// `otherwise`, without a question, when nobody is there.
bool askYesNo(const std::string& question, bool usual, bool otherwise);

}  // namespace console
