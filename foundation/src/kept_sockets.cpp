#include "kept_sockets.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <utility>

namespace {

// True when something was there, if only the end.
bool empty(curl_socket_t socket) noexcept {
  std::array<char, 256> unasked;
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

// Those of the process; nothing when they cannot be had. The standard library's iterator ends the process when there is
// no memory for it.
std::optional<std::set<int>> listLocalSockets() {
  const std::unique_ptr<DIR, CloseDirectory> directory(::opendir("/proc/self/fd"));
  if (!directory) return std::nullopt;
  std::set<int> found;
  while (const dirent* const entry = ::readdir(directory.get())) {
    const int descriptor = std::atoi(entry->d_name);
    if (isLocalSocket(descriptor)) found.insert(descriptor);
  }
  return found;
}

// One end holds the byte of a waking that nobody has taken yet, the other counts it as under way.
bool isEndOfWakingPair(int descriptor) noexcept {
  int received = 0;
  int underWay = 0;
  return ::ioctl(descriptor, FIONREAD, &received) == 0 && ::ioctl(descriptor, SIOCOUTQ, &underWay) == 0 &&
         ((received == 1 && underWay == 0) || (received == 0 && underWay > 0));
}

void closeOnExec(int descriptor) noexcept {
  // It fails for a descriptor that another thread has just closed.
  static_cast<void>(::fcntl(descriptor, F_SETFD, FD_CLOEXEC));
}

/// The two descriptors that the process gives out next, unless another thread is faster.
std::array<int, 2> obtainNextDescriptors() noexcept {
  const std::array<int, 2> next{::eventfd(0, EFD_CLOEXEC), ::eventfd(0, EFD_CLOEXEC)};
  for (const int descriptor : next) ::close(descriptor);
  return next;
}

// libcurl keeps the pair of sockets that it is woken with to itself, and programs that a host starts would get it. Null
// when the pair isn't where it was expected.
CurlMulti createMulti() {
  const std::array<int, 2> next = obtainNextDescriptors();
  CurlMulti multi(curl_multi_init());
  if (!multi) throw std::bad_alloc();
  if (curl_multi_wakeup(multi.get()) != CURLM_OK) return multi;
  const bool isPair = std::all_of(next.begin(), next.end(), [](int descriptor) {
    return isLocalSocket(descriptor) && isEndOfWakingPair(descriptor);
  });
  if (isPair) std::for_each(next.begin(), next.end(), closeOnExec);
  return isPair ? std::move(multi) : nullptr;
}

// The host's own threads open sockets too: what was there before, and what no waking went through, is left alone. All
// descriptors of the process are looked at, which takes a host with thousands of them a while.
CurlMulti createMultiAmongThreads() {
  const std::optional<std::set<int>> before = listLocalSockets();
  CurlMulti multi(curl_multi_init());
  if (!multi) throw std::bad_alloc();
  if (!before || curl_multi_wakeup(multi.get()) != CURLM_OK) return multi;
  for (const int descriptor : listLocalSockets().value_or(std::set<int>())) {
    if (before->count(descriptor) == 0 && isEndOfWakingPair(descriptor)) closeOnExec(descriptor);
  }
  return multi;
}

}  // namespace

void KeptConnections::open(const std::string& trustedAuthorities) {
  if (authorities != trustedAuthorities) multi.reset();
  if (multi) return;
  authorities = trustedAuthorities;
  multi = createMulti();
  if (!multi) multi = createMultiAmongThreads();
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
