// SPDX-License-Identifier: Apache-2.0
// A terminal that a test types at.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// The program at a terminal of its own.
class Terminal {
 public:
  /// `environment`: "NAME=value", besides what the test has. `rows`: how high it is; 0: it doesn't tell.
  explicit Terminal(std::vector<std::string> command, std::vector<std::string> environment = {},
                    unsigned short rows = 0) {
    std::vector<char*> arguments;
    for (std::string& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    winsize size{};
    size.ws_row = rows;
    size.ws_col = 80;
    child_ = forkpty(&screen_, nullptr, nullptr, &size);
    if (child_ == 0) {
      // Ctrl-C throws nothing away that is on its way to the screen.
      termios modes{};
      ::tcgetattr(STDIN_FILENO, &modes);
      modes.c_lflag |= NOFLSH;
      ::tcsetattr(STDIN_FILENO, TCSANOW, &modes);
      ::setenv("TERM", "dumb", 1);
      ::setenv("INPUTRC", "/dev/null", 1);
      for (std::string& one : environment) ::putenv(one.data());
      ::execv(arguments[0], arguments.data());
      ::_exit(127);
    }
  }
  ~Terminal() {
    if (child_ > 0) {
      ::kill(child_, SIGKILL);
      ::waitpid(child_, nullptr, 0);
    }
    ::close(screen_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void type(const std::string& keys) const {
    EXPECT_EQ(::write(screen_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }
  /// What the screen shows until the text is there, the program has ended or it has said nothing for a minute.
  std::string readUntil(const std::string& text) {
    while (unread_.find(text) == std::string::npos && readSome(std::chrono::minutes(1))) {
    }
    const std::size_t found = unread_.find(text);
    return take(found == std::string::npos ? unread_.size() : found + text.size());
  }
  /// Types the keys again and again until the text is there: for what the program takes only while it does something.
  void typeUntil(const std::string& keys, const std::string& text) {
    do {
      type(keys);
      readSome(std::chrono::milliseconds(50));
    } while (unread_.find(text) == std::string::npos && !isEnded_);
    readUntil(text);
  }
  int waitForEnd() {
    readUntil("no such text");
    int status = 0;
    ::waitpid(std::exchange(child_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  const std::string& all() const { return all_; }

 private:
  // False when nothing has come, for that time or because the program has ended.
  bool readSome(std::chrono::milliseconds patience) {
    pollfd screen{screen_, POLLIN, 0};
    if (::poll(&screen, 1, static_cast<int>(patience.count())) <= 0) return false;
    char part[1024];
    const ssize_t count = ::read(screen_, part, sizeof(part));
    isEnded_ = count <= 0;
    if (isEnded_) return false;
    all_.append(part, static_cast<std::size_t>(count));
    unread_.append(part, static_cast<std::size_t>(count));
    return true;
  }
  std::string take(std::size_t count) {
    std::string shown = unread_.substr(0, count);
    unread_.erase(0, count);
    return shown;
  }

  int screen_ = -1;
  pid_t child_ = -1;
  std::string all_;
  std::string unread_;  // of it
  bool isEnded_ = false;
};

}  // namespace support
