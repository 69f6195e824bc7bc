// SPDX-License-Identifier: Apache-2.0
#include "console/terminal_question.h"

#include <qx/qx.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>

namespace console {

bool isAnybodyThere() { return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1; }

bool askYesNo(const std::string& question, bool usual, bool otherwise) {
  termios before{};
  if (!isAnybodyThere() || ::tcgetattr(STDIN_FILENO, &before) != 0) return otherwise;
  termios single = before;
  // Signals are keys here: none of them leaves the terminal like this.
  single.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON | ISIG);
  single.c_cc[VMIN] = 1;
  single.c_cc[VTIME] = 0;
  if (::tcsetattr(STDIN_FILENO, TCSAFLUSH, &single) != 0) return otherwise;
  const CODefer restore([&before] { static_cast<void>(::tcsetattr(STDIN_FILENO, TCSADRAIN, &before)); });

  std::cerr << question << (usual ? " (Y/n) " : " (y/N) ") << std::flush;
  char key = 'n';
  ssize_t count = 0;
  do {
    count = ::read(STDIN_FILENO, &key, 1);
  } while (count < 0 && errno == EINTR);
  const bool isEnter = key == '\r' || key == '\n';
  const bool isYes = count == 1 && (key == 'y' || key == 'Y' || (isEnter && usual));
  std::cerr << (isYes ? "yes" : "no") << std::endl;
  return isYes;
}

}  // namespace console
