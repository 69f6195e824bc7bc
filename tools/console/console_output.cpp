#include "console/console_output.h"

#include <unistd.h>

#include <iostream>

#include "console/failure.h"
#include "console/row_table.h"
#include "console/utf8.h"

namespace console {

void printText(const std::string& text) {
  std::cout << (::isatty(STDOUT_FILENO) == 1 ? makePrintable(text) : text) << std::flush;
  if (!std::cout) throw Failure(ExitCode::Refused, "The answer could not be written to standard output.");
}

void printAnswer(const std::string& answer) { printText(answer.ends_with('\n') ? answer : answer + "\n"); }

void printRows(const zeakit::StatementResult& result) {
  if (!result.columns.empty()) printText(writeTable(result));
  if (result.isCut) printNote("There are more rows.");
  if (!result.error.empty()) printNote(result.error);
}

void printNote(const std::string& note) {
  std::cerr << (::isatty(STDERR_FILENO) == 1 ? makePrintable(note) : note) << std::endl;
}

}  // namespace console
