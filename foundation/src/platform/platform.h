// SPDX-License-Identifier: Apache-2.0
// What differs from system to system. Each system has a source of its own in this folder; nothing else in the libraries
// asks which one it is. Nothing here throws but where it says so.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace qx::platform {

/// Whether the authorities that the system trusts lie in files, whose places libcurl and OpenSSL know; otherwise
/// libcurl asks the system for them.
#ifdef _WIN32
using Socket = std::uintptr_t;
inline constexpr bool kHasAuthorityFiles = false;
#else
using Socket = int;
inline constexpr bool kHasAuthorityFiles = true;
#endif
inline constexpr Socket kNoSocket = static_cast<Socket>(-1);

/// A socket that is not inherited by programs which the host starts. `kNoSocket` when there is none to be had.
Socket openSocket(int family, int kind, int protocol) noexcept;

/// False when the process has as many files and sockets open as it may.
bool hasFreeDescriptor() noexcept;

/// Whether programs that the host starts inherit the pair of sockets that libcurl keeps for a multi handle, unless it
/// is found and marked. Where it is false the next three do nothing.
bool inheritsWakingPair() noexcept;
/// The two descriptors that the process is handed next, unless another thread is faster.
std::array<Socket, 2> guessNextDescriptors() noexcept;
/// How many bytes a socket of this machine's own holds that nobody has read, or has sent that the other end has not
/// read; -1 for any other descriptor.
int countLocalBytes(Socket socket) noexcept;
void closeOnExec(Socket socket) noexcept;

enum class Unread { Nothing, Bytes, End };
/// What waits to be read on a connected socket; an error counts as its end. Nothing is taken, and the call does not
/// wait.
Unread peek(Socket socket) noexcept;

/// A socket to wait for. What has become of it is told below, where `waitFor` has set it.
struct Watch {
  Socket socket;
  bool wantsRead;
  bool wantsWrite;
  bool wantsEnd;  // whether the other side's end is of interest although nothing is to be read
  bool canRead = false;
  bool canWrite = false;
  bool hasFailed = false;
  bool hasEnded = false;  // or something is to be read, where the system can't tell the two apart; see `peek`
};

/// Ends the waiting of another thread in `waitFor`.
class Waker {
 public:
  /// Opens one descriptor, unless the process has none left.
  Waker() noexcept;
  ~Waker();
  Waker(const Waker&) = delete;
  Waker& operator=(const Waker&) = delete;

  bool isOpen() const noexcept { return descriptor_ != kNoSocket; }
  /// Any thread, and a signal handler, may call it. Waking before the other thread waits ends its next waiting.
  void wake() noexcept;

 private:
  friend void waitFor(std::vector<Watch>& sockets, Waker& waker, int milliseconds);
  Socket descriptor_;
};

/// Waits until a socket is ready, the waker is woken or the time is over. Throws `std::bad_alloc`.
void waitFor(std::vector<Watch>& sockets, Waker& waker, int milliseconds);

/// Has `before` called before each fork of the process, `inParent` and `inChild` after it. To be called once.
void watchForks(void (*before)(), void (*inParent)(), void (*inChild)());

/// Asks the system's resolver for the addresses of a name, such as "192.0.2.1" or "2001:db8::1", the preferred one
/// first; none when the name is not found. It may take half a minute. Throws `std::bad_alloc`.
std::vector<std::string> lookUp(const std::string& name);
/// What the name system knows a name in UTF-8 by; empty when it is none.
std::string convertToASCII(const std::string& name);
/// Whether the text is an address by itself, without brackets.
bool isAddress(const std::string& text) noexcept;

/// Runs `function` on a new thread that receives none of the host's signals. Nobody waits for its end or its result.
/// False when no thread can be had.
bool startThread(void* (*function)(void*), void* data) noexcept;

/// What tells one state of a file from another; all zero when there is no such file, or it is something else, such as a
/// pipe, whose reading might never end.
using FileState = std::array<std::int64_t, 5>;
FileState obtainFileState(const std::string& path) noexcept;

/// Keeps this library loaded until the process ends, where linking it has not seen to that.
void stayLoaded() noexcept;

}  // namespace qx::platform
