// What goes where: answers to standard output, everything else to standard error.
#pragma once

#include <zeakit/read_only_runner.h>

#include <string>

namespace console {

/// Writes `text` to standard output as it is; to a terminal, made printable. Throws `Failure` when it cannot be
/// written.
void printText(const std::string& text);

/// The same for an answer, which ends with a line feed in any case.
void printAnswer(const std::string& answer);

/// The rows of a statement as a table on standard output, and on standard error what ended it early.
void printRows(const zeakit::StatementResult& result);

/// Writes a line to standard error; to a terminal, made printable.
void printNote(const std::string& note);

}  // namespace console
