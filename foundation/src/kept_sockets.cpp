#include "kept_sockets.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <new>
#include <set>

namespace {

// True when something was there, if only the end.
bool empty(curl_socket_t socket) noexcept {
  std::array<char, 4096> unasked{};
  ssize_t size = ::recv(socket, unasked.data(), unasked.size(), MSG_DONTWAIT);
  const bool hasSpoken = size >= 0;
  while (size > 0) size = ::recv(socket, unasked.data(), unasked.size(), MSG_DONTWAIT);
  return hasSpoken;
}

bool isLocalSocket(int descriptor) noexcept {
  int domain = 0;
  socklen_t size = sizeof(domain);
  return ::getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX;
}

struct CloseDirectory {
  void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};

// Those of the process, as far as they can be had. The standard library's iterator ends the process when there is no
// memory for it.
std::set<int> listLocalSockets() {
  std::set<int> found;
  const std::unique_ptr<DIR, CloseDirectory> directory(::opendir("/proc/self/fd"));
  while (const dirent* const entry = directory ? ::readdir(directory.get()) : nullptr) {
    const int descriptor = std::atoi(entry->d_name);
    if (isLocalSocket(descriptor)) found.insert(descriptor);
  }
  return found;
}

}  // namespace

void KeptConnections::open() {
  if (multi) return;
  const std::set<int> before = listLocalSockets();
  multi.reset(curl_multi_init());
  if (!multi) throw std::bad_alloc();
  // libcurl keeps the pair of sockets that it is woken with to itself, and programs that a host starts would get it.
  for (const int descriptor : listLocalSockets()) {
    if (before.count(descriptor) > 0) continue;
    // It fails for a descriptor that another thread has just closed.
    static_cast<void>(::fcntl(descriptor, F_SETFD, FD_CLOEXEC));
  }
}

void KeptSockets::serve(CurlEasy& easy) {
  easy.set(CURLOPT_OPENSOCKETFUNCTION, open);
  easy.set(CURLOPT_OPENSOCKETDATA, this);
  easy.set(CURLOPT_CLOSESOCKETFUNCTION, close);
  easy.set(CURLOPT_CLOSESOCKETDATA, this);
}

void KeptSockets::cutOffSpoilt() noexcept {
  for (const curl_socket_t socket : sockets_) {
    // It fails where the server has already ended the connection, which serves as well.
    if (empty(socket)) static_cast<void>(::shutdown(socket, SHUT_RDWR));
  }
}

curl_socket_t KeptSockets::open(void* self, curlsocktype /*purpose*/, curl_sockaddr* address) noexcept {
  std::vector<curl_socket_t>& sockets = static_cast<KeptSockets*>(self)->sockets_;
  try {
    sockets.reserve(sockets.size() + 1);
  } catch (...) {
    return CURL_SOCKET_BAD;
  }
  // libcurl's own would stay open in the programs that a host starts.
  const curl_socket_t socket = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
  if (socket != CURL_SOCKET_BAD) sockets.push_back(socket);
  return socket;
}

int KeptSockets::close(void* self, curl_socket_t socket) noexcept {
  std::vector<curl_socket_t>& sockets = static_cast<KeptSockets*>(self)->sockets_;
  sockets.erase(std::remove(sockets.begin(), sockets.end(), socket), sockets.end());
  return ::close(socket);
}
