// SPDX-License-Identifier: Apache-2.0
// Lines from the user.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace console {

/// Reads standard input line by line. When it and standard error are terminals, with a prompt on standard error, with
/// editing, completion and the lines before; otherwise plainly. One at a time.
class LineReader {
 public:
  /// `keepsLines`: the lines before come from a file of the user's own, and go there; those that begin with a space
  /// don't. `completions` returns, for the line so far, the words that its last one may become.
  LineReader(bool keepsLines, std::function<std::vector<std::string>(const std::string& line)> completions);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  /// The next line, without its end, in UTF-8 and without control characters; several, with line feeds, when the user
  /// has written or pasted more than one. Nothing at the end of input.
  std::optional<std::string> readLine();

 private:
  void remember(const std::string& line) const;

  bool isInteractive_;
  std::function<std::vector<std::string>(const std::string& line)> completions_;
  std::string historyFile_;  // empty: none
};

}  // namespace console
