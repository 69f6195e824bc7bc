// SPDX-License-Identifier: Apache-2.0
#include "forked_process.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <exception>
#include <iostream>
#include <stdexcept>

namespace {

[[noreturn]] void runAndEnd(const std::function<void(const Line&)>& work, const Line& line) {
  int status = 0;
  try {
    work(line);
  } catch (const std::exception& problem) {
    std::cerr << problem.what() << '\n';
    status = 1;
  }
  // What the parent has set up is the parent's to end.
  ::_exit(status);
}

}  // namespace

Line::~Line() { ::close(socket_); }

void Line::say(std::string_view text) const {
  const std::size_t size = text.size();
  std::string whole(reinterpret_cast<const char*>(&size), sizeof size);
  whole.append(text);
  if (::send(socket_, whole.data(), whole.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(whole.size())) {
    throw std::runtime_error("nobody to speak to");
  }
}

std::string Line::hear() const {
  std::size_t size = 0;
  hearBytes(sizeof size).copy(reinterpret_cast<char*>(&size), sizeof size);
  return hearBytes(size);
}

std::string Line::hearBytes(std::size_t size) const {
  std::string bytes(size, '\0');
  if (::recv(socket_, bytes.data(), size, MSG_WAITALL) != static_cast<ssize_t>(size)) {
    throw std::runtime_error("nobody to listen to");
  }
  return bytes;
}

void Line::waitForEnd() const {
  char unasked = 0;
  while (::recv(socket_, &unasked, 1, 0) > 0) {
  }
}

ForkedProcess::ForkedProcess(const std::function<void(const Line&)>& work) {
  std::array<int, 2> sockets{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0) throw std::runtime_error("no line");
  line_ = std::make_unique<Line>(sockets[0]);
  const Line otherEnd(sockets[1]);
  process_ = ::fork();
  if (process_ < 0) throw std::runtime_error("no process");
  if (process_ > 0) return;
  line_.reset();
  runAndEnd(work, otherEnd);
}

ForkedProcess::~ForkedProcess() {
  line_.reset();
  static_cast<void>(::waitpid(process_, nullptr, 0));  // how it ended shows in what it said
}
