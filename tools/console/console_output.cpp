// SPDX-License-Identifier: Apache-2.0
#include "console/console_output.h"

#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "console/failure.h"
#include "console/row_text.h"
#include "console/utf8.h"

namespace console {

namespace {

/// Whether a terminal on standard output would lose the first lines, or break them.
bool isTooLong(const std::string& text) {
  winsize size{};
  if (::isatty(STDOUT_FILENO) != 1 || ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0) return false;
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  return lines >= size.ws_row || text.find('\n') > std::size_t{size.ws_col};
}

/// False when there is no such program. It may end before it has read all.
bool showPaged(const std::string& text) {
  const char* const named = std::getenv("PAGER");
  const std::string pager = named != nullptr && *named != '\0' ? named : "less -FRSX";
  struct sigaction ignore {};
  struct sigaction former {};
  ignore.sa_handler = SIG_IGN;
  static_cast<void>(sigaction(SIGPIPE, &ignore, &former));
  FILE* const pipe = ::popen(pager.c_str(), "w");
  int status = -1;
  if (pipe != nullptr) {
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), pipe));
    status = ::pclose(pipe);
  }
  static_cast<void>(sigaction(SIGPIPE, &former, nullptr));
  constexpr int notFound = 127;
  return status != -1 && !(WIFEXITED(status) && WEXITSTATUS(status) == notFound);
}

}  // namespace

void printText(const std::string& text) {
  std::cout << (::isatty(STDOUT_FILENO) == 1 ? makePrintable(text) : text) << std::flush;
  if (!std::cout) throw Failure(ExitCode::Refused, "The answer could not be written to standard output.");
}

void printAnswer(const std::string& answer) { printText(answer.ends_with('\n') ? answer : answer + "\n"); }

void printRows(const zeakit::StatementResult& result, RowForm form) {
  if (!result.columns.empty()) {
    const std::string text = form == RowForm::Csv    ? writeCsv(result)
                             : form == RowForm::Json ? writeJson(result)
                                                     : writeTable(result);
    if (!isTooLong(text) || !showPaged(makePrintable(text))) printText(text);
  }
  if (result.isCut) printNote("There are more rows.");
  if (!result.error.empty()) printNote(result.error);
}

void printNote(const std::string& note) {
  std::cerr << (::isatty(STDERR_FILENO) == 1 ? makePrintable(note) : note) << std::endl;
}

}  // namespace console
