#include "console/line_reader.h"

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

LineReader::LineReader() : isInteractive_(::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1) {
  if (isInteractive_) rl_outstream = stderr;
}

std::optional<std::string> LineReader::readLine() {
  if (!isInteractive_) {
    std::string line;
    if (!std::getline(std::cin, line)) return std::nullopt;
    return line;
  }
  const std::unique_ptr<char, FreeLine> line(::readline("zea> "));
  if (!line) return std::nullopt;
  if (*line != '\0') add_history(line.get());
  return std::string(line.get());
}

}  // namespace console
