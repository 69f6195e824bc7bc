// SPDX-License-Identifier: Apache-2.0
// A port of the loopback interface.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace loopback {

/// Listens on 127.0.0.1 from construction to destruction, on a port that was free. Any thread may accept.
class Listener {
 public:
  /// `backlog`: how many clients wait to be accepted. Throws `std::runtime_error`.
  explicit Listener(int backlog) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (::bind(socket_, plain, size) != 0 || ::listen(socket_, backlog) != 0 ||
        ::getsockname(socket_, plain, &size) != 0) {
      ::close(socket_);
      throw std::runtime_error("no port on the loopback interface");
    }
    port_ = ntohs(address.sin_port);
  }
  ~Listener() { ::close(socket_); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  int socket() const { return socket_; }
  int port() const { return port_; }
  /// The next client's socket, which the caller owns; negative after `end`. Blocks.
  int accept() const { return ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC); }
  /// Wakes all threads that accept, and lets none of them wait again.
  void end() const { static_cast<void>(::shutdown(socket_, SHUT_RDWR)); }

 private:
  int socket_;
  int port_ = 0;
};

}  // namespace loopback
