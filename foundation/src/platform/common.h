// SPDX-License-Identifier: Apache-2.0
// What systems have in common but for their headers: a system's source includes this once, behind the headers of its
// sockets. Linux has better ways for some of it; QX_PLAIN_POSIX has it do without them, so that they are tested.
#pragma once

#include <cerrno>
#include <memory>

#include "platform.h"

#if defined(__linux__) && !defined(QX_PLAIN_POSIX)
#define QX_LINUX
#endif

namespace qx::platform {

// Each source defines these. The first is called ahead of whatever needs sockets, the third behind `openSocket`.
void prepareSockets() noexcept;
void closeSocket(Socket socket) noexcept;
bool isOutOfDescriptors() noexcept;
bool makeNonBlocking(Socket socket) noexcept;

bool hasFreeDescriptor() noexcept {
  // Only trying tells: limits can be lowered, and descriptors of the system as a whole run out too.
  const Socket socket = openSocket(AF_INET, SOCK_STREAM, 0);
  if (socket == kNoSocket) return !isOutOfDescriptors();
  closeSocket(socket);
  return true;
}

std::vector<std::string> lookUp(const std::string& name) {
  prepareSockets();
  addrinfo hints{};
  // Otherwise each address would come three times, once for each kind of socket.
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  std::vector<std::string> found;
  if (::getaddrinfo(name.c_str(), nullptr, &hints, &list) != 0) return found;
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owned(list, ::freeaddrinfo);
  for (const addrinfo* one = list; one != nullptr; one = one->ai_next) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void* address = nullptr;
    if (one->ai_family == AF_INET) address = &reinterpret_cast<const sockaddr_in*>(one->ai_addr)->sin_addr;
    if (one->ai_family == AF_INET6) {
      const auto* const six = reinterpret_cast<const sockaddr_in6*>(one->ai_addr);
      // One that is good on a single interface cannot be written without naming it, which libcurl does not read.
      if (six->sin6_scope_id == 0) address = &six->sin6_addr;
    }
    if (address != nullptr && ::inet_ntop(one->ai_family, address, text.data(), text.size()) != nullptr) {
      found.emplace_back(text.data());
    }
  }
  return found;
}

bool isAddress(const std::string& text) noexcept {
  prepareSockets();
  in6_addr address{};
  return ::inet_pton(AF_INET, text.c_str(), &address) == 1 || ::inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

#ifndef QX_LINUX
// Windows has an event in place of the pair. Elsewhere it is inherited before libcurl 8.14.
bool inheritsWakingPair() noexcept { return false; }
std::array<Socket, 2> guessNextDescriptors() noexcept { return {kNoSocket, kNoSocket}; }
int countLocalBytes(Socket /*socket*/) noexcept { return -1; }
void closeOnExec(Socket /*socket*/) noexcept {}

// A datagram socket that talks to itself and hears nobody else: `select` knows nothing but sockets.
Waker::Waker() noexcept : descriptor_(openSocket(AF_INET, SOCK_DGRAM, 0)) {
  if (!isOpen()) return;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof(address);
  const bool isReady = ::bind(descriptor_, any, size) == 0 && ::getsockname(descriptor_, any, &size) == 0 &&
                       ::connect(descriptor_, any, size) == 0 && makeNonBlocking(descriptor_);
  if (isReady) return;
  closeSocket(descriptor_);
  descriptor_ = kNoSocket;
}

void Waker::wake() noexcept {
  const int before = errno;  // a signal handler leaves it as it was
  // It fails only where earlier bytes fill the socket, and then the other thread is woken anyway.
  static_cast<void>(::send(descriptor_, "", 1, 0));
  errno = before;
}
#endif

Waker::~Waker() {
  if (isOpen()) closeSocket(descriptor_);
}

}  // namespace qx::platform
