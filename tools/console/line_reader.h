// Lines from the user.
#pragma once

#include <optional>
#include <string>

namespace console {

/// Reads standard input line by line. When it and standard error are terminals, with a prompt on standard error, with
/// editing and with the lines before; otherwise plainly.
class LineReader {
 public:
  LineReader();

  /// The next line, without its end; nothing at the end of input.
  std::optional<std::string> readLine();

 private:
  bool isInteractive_;
};

}  // namespace console
