#include "console/line_reader.h"

#include <setjmp.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>

// readline's headers need FILE to be declared.
#include <readline/history.h>
#include <readline/readline.h>

namespace console {

namespace {

struct FreeLine {
  void operator()(char* line) const { std::free(line); }
};

}  // namespace

namespace {

sigjmp_buf prompt;
volatile sig_atomic_t isAtPrompt = 0;

// readline has put the terminal in order and raises the signal again where it is safe to leave.
void leaveLine(int) {
  if (isAtPrompt != 0) siglongjmp(prompt, 1);
}

}  // namespace

LineReader::LineReader() : isInteractive_(::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1) {
  if (isInteractive_) rl_outstream = stderr;
}

std::optional<std::string> LineReader::readLine() {
  if (!isInteractive_) {
    std::string line;
    if (!std::getline(std::cin, line)) return std::nullopt;
    return line;
  }
  struct sigaction action {};
  action.sa_handler = leaveLine;
  struct sigaction former {};
  static_cast<void>(sigaction(SIGINT, &action, &former));
  if (sigsetjmp(prompt, 1) != 0) {
    isAtPrompt = 0;
    rl_free_line_state();
    static_cast<void>(std::fputs("\n", rl_outstream));
  }
  isAtPrompt = 1;
  const std::unique_ptr<char, FreeLine> line(::readline("zea> "));
  isAtPrompt = 0;
  static_cast<void>(sigaction(SIGINT, &former, nullptr));
  if (!line) return std::nullopt;
  if (*line != '\0') add_history(line.get());
  return std::string(line.get());
}

}  // namespace console
