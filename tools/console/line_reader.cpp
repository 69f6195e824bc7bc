#include "console/line_reader.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <array>
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

volatile sig_atomic_t lastSignal = 0;

/// Holds signals back but while it waits, so that none comes between a look and the waiting.
class WatchedSignals {
 public:
  WatchedSignals() {
    sigset_t signals;
    static_cast<void>(sigemptyset(&signals));  // none of these fails for signals that exist
    for (const int signal : kSignals) static_cast<void>(sigaddset(&signals, signal));
    static_cast<void>(pthread_sigmask(SIG_BLOCK, &signals, &maskBefore_));
    struct sigaction action {};
    action.sa_handler = [](int signal) { lastSignal = signal; };
    for (std::size_t at = 0; at < kSignals.size(); ++at) {
      static_cast<void>(sigaction(kSignals[at], &action, &actionsBefore_[at]));
    }
  }
  ~WatchedSignals() {
    for (std::size_t at = 0; at < kSignals.size(); ++at) {
      static_cast<void>(sigaction(kSignals[at], &actionsBefore_[at], nullptr));
    }
    static_cast<void>(pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr));
  }
  WatchedSignals(const WatchedSignals&) = delete;
  WatchedSignals& operator=(const WatchedSignals&) = delete;

  /// 0 when there is input, otherwise the signal that came first.
  int waitForInput() const {
    lastSignal = 0;
    pollfd input{STDIN_FILENO, POLLIN, 0};
    while (::ppoll(&input, 1, nullptr, &maskBefore_) < 0 && lastSignal == 0) {
    }
    return lastSignal;
  }
  /// What the signal does by itself.
  void obey(int signal) const {
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    struct sigaction own {};
    static_cast<void>(sigaction(signal, &standard, &own));
    static_cast<void>(raise(signal));
    sigset_t one;
    static_cast<void>(sigemptyset(&one));
    static_cast<void>(sigaddset(&one, signal));
    static_cast<void>(pthread_sigmask(SIG_UNBLOCK, &one, nullptr));  // now it happens
    static_cast<void>(pthread_sigmask(SIG_BLOCK, &one, nullptr));
    static_cast<void>(sigaction(signal, &own, nullptr));
  }

 private:
  static constexpr std::array<int, 5> kSignals = {SIGINT, SIGTSTP, SIGWINCH, SIGTERM, SIGHUP};
  sigset_t maskBefore_{};
  std::array<struct sigaction, kSignals.size()> actionsBefore_{};
};

// readline calls back without saying for whom.
char* readLineText = nullptr;
bool isLineRead = false;

void takeLine(char* line) {
  readLineText = line;
  isLineRead = true;
  rl_callback_handler_remove();  // otherwise the prompt is shown again
}

void clearLine() {
  rl_callback_sigcleanup();
  rl_free_line_state();
  static_cast<void>(std::fputs("\n", rl_outstream));
  rl_replace_line("", 0);
  rl_on_new_line();
  rl_redisplay();
}

/// With the terminal as it was before, as others expect it meanwhile or afterwards.
void leaveTerminal(const WatchedSignals& signals, int signal) {
  rl_deprep_terminal();
  signals.obey(signal);
  rl_prep_terminal(1);
  rl_forced_update_display();
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
  isLineRead = false;
  const WatchedSignals signals;
  rl_callback_handler_install("zea> ", takeLine);
  while (!isLineRead) {
    const int signal = signals.waitForInput();
    if (signal == 0) {
      rl_callback_read_char();
    } else if (signal == SIGINT) {
      clearLine();
    } else if (signal == SIGWINCH) {
      rl_resize_terminal();
    } else {
      leaveTerminal(signals, signal);
    }
  }
  const std::unique_ptr<char, FreeLine> line(readLineText);
  if (!line) return std::nullopt;
  if (*line != '\0') add_history(line.get());
  return std::string(line.get());
}

}  // namespace console
