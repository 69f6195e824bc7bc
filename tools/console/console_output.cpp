#include "console/console_output.h"

#include <unistd.h>

#include <iostream>

#include "console/failure.h"
#include "console/utf8.h"

namespace console {

void printText(const std::string& text) {
  std::cout << (::isatty(STDOUT_FILENO) == 1 ? makePrintable(text) : text) << std::flush;
  if (!std::cout) throw Failure(ExitCode::Refused, "The answer could not be written to standard output.");
}

void printAnswer(const std::string& answer) { printText(answer.ends_with('\n') ? answer : answer + "\n"); }

void printNote(const std::string& note) {
  std::cerr << (::isatty(STDERR_FILENO) == 1 ? makePrintable(note) : note) << std::endl;
}

}  // namespace console
