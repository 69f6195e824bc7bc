// SPDX-License-Identifier: Apache-2.0
#include <arpa/inet.h>
#include <fcntl.h>
#include <idn2.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "common.h"

#ifdef __APPLE__
#define st_mtim st_mtimespec
#endif
#ifdef QX_LINUX
#include <linux/sockios.h>
#include <sys/eventfd.h>
#endif

namespace qx::platform {

void prepareSockets() noexcept {}

void closeSocket(Socket socket) noexcept { ::close(socket); }

bool isOutOfDescriptors() noexcept { return errno == EMFILE || errno == ENFILE; }

bool makeNonBlocking(Socket socket) noexcept { return ::fcntl(socket, F_SETFL, O_NONBLOCK) == 0; }

#ifdef QX_LINUX
constexpr int kEnd = POLLRDHUP;
constexpr int kCloseOnExec = SOCK_CLOEXEC;

bool inheritsWakingPair() noexcept { return true; }

std::array<Socket, 2> guessNextDescriptors() noexcept {
  // The lowest free numbers are always next, so those that were just handed out come again.
  const std::array<Socket, 2> next{::eventfd(0, EFD_CLOEXEC), ::eventfd(0, EFD_CLOEXEC)};
  for (const Socket descriptor : next) ::close(descriptor);
  return next;
}

int countLocalBytes(Socket socket) noexcept {
  int domain = 0;
  socklen_t size = sizeof(domain);
  int unread = 0;
  int unsent = 0;
  const bool isLocal = ::getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX &&
                       ::ioctl(socket, FIONREAD, &unread) == 0 && ::ioctl(socket, SIOCOUTQ, &unsent) == 0;
  return isLocal ? unread + unsent : -1;
}

// It fails for a descriptor that another thread has just closed.
void closeOnExec(Socket socket) noexcept { static_cast<void>(::fcntl(socket, F_SETFD, FD_CLOEXEC)); }

Waker::Waker() noexcept : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void Waker::wake() noexcept {
  const int before = errno;  // a signal handler leaves it as it was
  const std::uint64_t one = 1;
  // It fails only where the count is full, and then the other thread is woken anyway.
  static_cast<void>(!::write(descriptor_, &one, sizeof(one)));
  errno = before;
}
#else
constexpr int kEnd = POLLIN;  // something to be read, or the end, which `peek` tells apart
constexpr int kCloseOnExec = 0;
#endif

Socket openSocket(int family, int kind, int protocol) noexcept {
  const Socket socket = ::socket(family, kind | kCloseOnExec, protocol);
  if (kCloseOnExec == 0 && socket != kNoSocket) static_cast<void>(::fcntl(socket, F_SETFD, FD_CLOEXEC));
  return socket;
}

Unread peek(Socket socket) noexcept {
  char byte = 0;
  const ssize_t size = ::recv(socket, &byte, sizeof(byte), MSG_PEEK | MSG_DONTWAIT);
  if (size > 0) return Unread::Bytes;
  return size < 0 && (errno == EAGAIN || errno == EINTR) ? Unread::Nothing : Unread::End;
}

void waitFor(std::vector<Watch>& sockets, Waker& waker, int milliseconds) {
  // A call has one socket, or two while it tries both kinds of addresses: no memory is needed for those.
  constexpr std::size_t kUsual = 4;
  std::array<pollfd, kUsual> few{};
  std::vector<pollfd> many;
  if (sockets.size() + 1 > kUsual) many.resize(sockets.size() + 1);
  pollfd* const polled = many.empty() ? few.data() : many.data();
  polled[0] = {waker.descriptor_, POLLIN, 0};
  for (std::size_t i = 0; i < sockets.size(); ++i) {
    const Watch& watch = sockets[i];
    const int events = (watch.wantsRead ? POLLIN : 0) | (watch.wantsWrite ? POLLOUT : 0) | (watch.wantsEnd ? kEnd : 0);
    polled[i + 1] = {watch.socket, static_cast<short>(events), 0};
  }
  // A signal of the host ends the waiting too; whoever waits looks again.
  if (::poll(polled, sockets.size() + 1, milliseconds) <= 0) return;
  std::uint64_t count = 0;
  if (polled[0].revents != 0) static_cast<void>(!::read(waker.descriptor_, &count, sizeof(count)));
  for (std::size_t i = 0; i < sockets.size(); ++i) {
    const int events = polled[i + 1].revents;
    sockets[i].canRead = (events & POLLIN) != 0;
    sockets[i].canWrite = (events & POLLOUT) != 0;
    sockets[i].hasFailed = (events & (POLLERR | POLLHUP | POLLNVAL)) != 0;
    sockets[i].hasEnded = (events & kEnd) != 0;
  }
}

void watchForks(void (*before)(), void (*inParent)(), void (*inChild)()) {
  // It fails for want of memory alone: forks are then as unsafe as in any program with threads.
  static_cast<void>(::pthread_atfork(before, inParent, inChild));
}

std::string convertToASCII(const std::string& name) {
  std::uint8_t* converted = nullptr;
  // As browsers do it: the same text leads to the same host.
  const int result = idn2_lookup_u8(reinterpret_cast<const std::uint8_t*>(name.c_str()), &converted,
                                    IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL);
  const std::unique_ptr<std::uint8_t, decltype(&idn2_free)> owned(converted, idn2_free);
  return result == IDN2_OK ? reinterpret_cast<const char*>(converted) : std::string();
}

bool startThread(void* (*function)(void*), void* data) noexcept {
  // None of these fails. The new thread inherits what is blocked here.
  sigset_t all;
  sigset_t before;
  static_cast<void>(::sigfillset(&all));
  static_cast<void>(::pthread_sigmask(SIG_SETMASK, &all, &before));
  pthread_t thread{};
  const bool isStarted = ::pthread_create(&thread, nullptr, function, data) == 0;
  static_cast<void>(::pthread_sigmask(SIG_SETMASK, &before, nullptr));
  if (isStarted) static_cast<void>(::pthread_detach(thread));
  return isStarted;
}

FileState obtainFileState(const std::string& path) noexcept {
  // A file that is written anew within the clock's resolution has another node or size, mostly.
  struct stat state {};
  if (::stat(path.c_str(), &state) != 0 || !S_ISREG(state.st_mode)) return {};
  return {static_cast<std::int64_t>(state.st_dev), static_cast<std::int64_t>(state.st_ino), state.st_size,
          state.st_mtim.tv_sec, state.st_mtim.tv_nsec};
}

void stayLoaded() noexcept {}

}  // namespace qx::platform
