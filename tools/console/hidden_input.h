// SPDX-License-Identifier: Apache-2.0
// Input that doesn't show.
#pragma once

#include <string>

namespace console {

/// Shows `prompt` on standard error and reads a line from the terminal on standard input without echo. Interrupting
/// the program while it waits leaves the terminal as it was. Empty at the end of input. Throws `Failure` when the
/// echo cannot be switched off.
std::string readHiddenLine(const std::string& prompt);

}  // namespace console
