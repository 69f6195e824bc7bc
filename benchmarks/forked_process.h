// SPDX-License-Identifier: Apache-2.0
// A process beside this one that runs a function of the same program, and the line between the two. Words that can't
// be exchanged, as the other end has gone, are a `std::runtime_error`.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

/// One end of the line.
class Line {
 public:
  /// Takes the socket over.
  explicit Line(int socket) : socket_(socket) {}
  ~Line();
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  void say(std::string_view text) const;
  std::string hear() const;
  /// Returns when the other end has gone.
  void waitForEnd() const;

 private:
  std::string hearBytes(std::size_t size) const;

  int socket_;
};

class ForkedProcess {
 public:
  /// Starts a process that runs `work` with its end of the line. What `work` throws is told on standard error.
  /// REQUIRES: this process has one thread.
  explicit ForkedProcess(const std::function<void(const Line&)>& work);
  /// Hangs up and waits for the end of the process, which must take that as its sign to end.
  ~ForkedProcess();
  ForkedProcess(const ForkedProcess&) = delete;
  ForkedProcess& operator=(const ForkedProcess&) = delete;

  const Line& line() const { return *line_; }

 private:
  std::unique_ptr<Line> line_;
  pid_t process_ = -1;
};
