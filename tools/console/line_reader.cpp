// SPDX-License-Identifier: Apache-2.0
#include "console/line_reader.h"

#include <fcntl.h>
#include <langinfo.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <utility>

#include "console/personal_files.h"
#include "console/terminal_question.h"

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

// Of the reader that there is.
const std::function<std::vector<std::string>(const std::string&)>* completionsOfLine = nullptr;

/// The words in the memory that readline frees; null when there is none.
char** completeWord(const char* word, int, int) {
  rl_attempted_completion_over = 1;  // no names of files
  std::vector<std::string> found;
  for (const std::string& one : (*completionsOfLine)(rl_line_buffer)) {
    if (one.starts_with(word)) found.push_back(one);
  }
  if (found.empty()) return nullptr;
  // What all have in common comes first.
  std::string common = found.front();
  for (const std::string& one : found) {
    std::size_t same = 0;
    while (same < common.size() && same < one.size() && common[same] == one[same]) ++same;
    common.resize(same);
  }
  if (found.size() == 1) found.clear();
  found.insert(found.begin(), common);
  auto** const words = static_cast<char**>(std::calloc(found.size() + 1, sizeof(char*)));
  for (std::size_t at = 0; words != nullptr && at < found.size(); ++at) words[at] = ::strdup(found[at].c_str());
  return words;
}

int insertLineFeed(int, int) { return rl_insert_text("\n"); }

/// Readline takes bytes above 127 for keys with Alt unless the locale is one of UTF-8. Terminals speak UTF-8 anyway.
void readUtf8() {
  static_cast<void>(std::setlocale(LC_CTYPE, ""));
  if (std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0) return;
  static_cast<void>(std::setlocale(LC_CTYPE, "C.UTF-8"));
  for (const auto& [name, value] : {std::pair{"convert-meta", "off"}, {"input-meta", "on"}, {"output-meta", "on"}}) {
    static_cast<void>(rl_variable_bind(name, value));
  }
}

/// Keys that do nothing would be part of the question.
std::string withoutControls(const std::string& line) {
  std::string text;
  for (const char byte : line) {
    const auto code = static_cast<unsigned char>(byte);
    if ((code >= 0x20 && code != 0x7F) || byte == '\n' || byte == '\t') text += byte;
  }
  return text;
}

/// Where the lines are kept; empty when there is no place. The file is its user's alone.
std::string makeHistoryFile() {
  const std::string folder = obtainStateFolder();
  if (folder.empty() || !makeFolder(folder).empty()) return {};
  const std::string file = folder + "/history";
  const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return {};
  ::close(descriptor);
  return file;
}

}  // namespace

LineReader::LineReader(bool keepsLines, std::function<std::vector<std::string>(const std::string& line)> completions)
    : isInteractive_(isAnybodyThere()), completions_(std::move(completions)) {
  if (!isInteractive_) return;
  completionsOfLine = &completions_;
  rl_outstream = stderr;
  rl_readline_name = "zea";
  rl_attempted_completion_function = completeWord;
  static_cast<void>(rl_initialize());
  readUtf8();
  for (const char* const keys : {"\\e\\C-m", "\\e\\C-j"}) static_cast<void>(rl_bind_keyseq(keys, insertLineFeed));
  using_history();
  constexpr int kept = 1000;
  stifle_history(kept);
  // With the times the file can tell lines of one question from questions.
  history_comment_char = '#';
  history_write_timestamps = 1;
  history_multiline_entries = 1;
  if (keepsLines) historyFile_ = makeHistoryFile();
  if (!historyFile_.empty()) static_cast<void>(read_history(historyFile_.c_str()));
}

LineReader::~LineReader() {
  rl_attempted_completion_function = nullptr;
  completionsOfLine = nullptr;
  if (historyFile_.empty()) return;
  constexpr int linesOfFile = 4000;
  static_cast<void>(history_truncate_file(historyFile_.c_str(), linesOfFile));
}

void LineReader::remember(const std::string& line) const {
  if (line.empty()) return;
  add_history(line.c_str());
  const bool isPrivate = line[0] == ' ';
  if (!historyFile_.empty() && !isPrivate) static_cast<void>(append_history(1, historyFile_.c_str()));
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
  std::string text = withoutControls(line.get());
  remember(text);
  return text;
}

}  // namespace console
