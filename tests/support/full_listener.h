// SPDX-License-Identifier: Apache-2.0
// A port of the loopback interface where no connect completes: its queue is full, and nobody takes from it.
#pragma once

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace support {

class FullListener {
 public:
  /// On ::1 with that port, or on 127.0.0.1 with a free one.
  explicit FullListener(int port = 0) {
    sockaddr_in6 six{AF_INET6, htons(static_cast<in_port_t>(port)), 0, IN6ADDR_LOOPBACK_INIT, 0};
    sockaddr_in four{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    auto* const address = port != 0 ? reinterpret_cast<sockaddr*>(&six) : reinterpret_cast<sockaddr*>(&four);
    socklen_t size = port != 0 ? sizeof(six) : sizeof(four);
    for (int& socket : sockets_) socket = ::socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (::bind(sockets_[0], address, size) != 0 || ::listen(sockets_[0], 0) != 0 ||
        ::getsockname(sockets_[0], address, &size) != 0) {
      throw std::runtime_error("no port on the loopback interface");
    }
    port_ = port != 0 ? port : ntohs(four.sin_port);
    // The first fills the queue; the others see to it that it is full however the system counts.
    for (std::size_t i = 1; i < sockets_.size(); ++i) static_cast<void>(::connect(sockets_[i], address, size));
  }
  ~FullListener() {
    for (const int socket : sockets_) ::close(socket);
  }
  FullListener(const FullListener&) = delete;
  FullListener& operator=(const FullListener&) = delete;
  int port() const { return port_; }

 private:
  int port_ = 0;
  std::array<int, 4> sockets_{};
};

}  // namespace support
