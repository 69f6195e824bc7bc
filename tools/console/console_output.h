// SPDX-License-Identifier: Apache-2.0
// What goes where: answers to standard output, everything else to standard error.
#pragma once

#include <zeakit/read_only_runner.h>

#include <string>

#include "console/console_options.h"

namespace console {

/// Writes `text` to standard output as it is; to a terminal, made printable. Throws `Failure` when it cannot be
/// written.
void printText(const std::string& text);

/// The same for an answer, which ends with a line feed in any case.
void printAnswer(const std::string& answer);

/// The rows of a statement on standard output, and on standard error what ended it early. What a terminal has no room
/// for goes through the program that PAGER names, or less.
void printRows(const zeakit::StatementResult& result, RowForm form = RowForm::Table);

/// Writes a line to standard error; to a terminal, made printable.
void printNote(const std::string& note);

}  // namespace console
