// SPDX-License-Identifier: Apache-2.0
#include "console/hidden_input.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <iostream>

#include "console/failure.h"

namespace console {

namespace {

// Holds the signals that end the program back; they take effect when the guard is gone.
class HeldSignals {
 public:
  HeldSignals() {
    sigset_t signals;
    static_cast<void>(sigemptyset(&signals));  // none of these fails for signals that exist
    for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) static_cast<void>(sigaddset(&signals, signal));
    descriptor_ = ::signalfd(-1, &signals, SFD_CLOEXEC);
    // A shell that takes the terminal over shows what is typed, and it stays so after "fg".
    static_cast<void>(sigaddset(&signals, SIGTSTP));
    static_cast<void>(sigprocmask(SIG_BLOCK, &signals, &before_));
  }
  ~HeldSignals() {
    if (descriptor_ >= 0) ::close(descriptor_);
    static_cast<void>(sigprocmask(SIG_SETMASK, &before_, nullptr));
  }
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  // True when there is input, false when one of the signals has come.
  bool waitForInput() const {
    std::array<pollfd, 2> sources = {{{STDIN_FILENO, POLLIN, 0}, {descriptor_, POLLIN, 0}}};
    int ready = 0;
    do {
      ready = ::poll(sources.data(), sources.size(), -1);
    } while (ready < 0 && errno == EINTR);
    return ready > 0 && sources[1].revents == 0;
  }

 private:
  sigset_t before_{};
  int descriptor_ = -1;
};

class SilentTerminal {
 public:
  SilentTerminal() {
    bool isSilent = ::tcgetattr(STDIN_FILENO, &before_) == 0;
    if (isSilent) {
      termios silent = before_;
      silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
      isSilent = ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent) == 0;
    }
    if (!isSilent) throw Failure(ExitCode::Usage, "The terminal cannot hide what is typed.");
  }
  // A terminal that has gone away needs no echo.
  ~SilentTerminal() { static_cast<void>(::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_)); }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

 private:
  termios before_{};
};

}  // namespace

std::string readHiddenLine(const std::string& prompt) {
  // The order matters: the echo is back before a signal that was held ends the program.
  const HeldSignals signals;
  const SilentTerminal terminal;
  std::cerr << prompt << std::flush;
  std::string line;
  if (signals.waitForInput()) std::getline(std::cin, line);
  std::cerr << std::endl;
  return line;
}

}  // namespace console
