// SPDX-License-Identifier: Apache-2.0
// Room for the sockets of a transfer and the waker's.
#define FD_SETSIZE 128
#include <winsock2.h>
// The order matters: the others build on the first.
#include <windows.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <thread>

#include "common.h"

namespace qx::platform {

static_assert(sizeof(Socket) == sizeof(SOCKET) && kNoSocket == INVALID_SOCKET);

namespace {

/// Empty when the text is no UTF-8.
std::wstring widen(const std::string& text) {
  const int size = static_cast<int>(text.size());
  const int count = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(std::max(count, 0)), L'\0');
  ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, wide.data(), count);
  return wide;
}

}  // namespace

// Never taken back: libcurl, which uses sockets too, isn't cleaned up either.
void prepareSockets() noexcept {
  static const int result = [] {
    WSADATA data{};
    return ::WSAStartup(MAKEWORD(2, 2), &data);
  }();
  static_cast<void>(result);  // without sockets the next function fails
}

void closeSocket(Socket socket) noexcept { ::closesocket(socket); }

bool isOutOfDescriptors() noexcept { return ::WSAGetLastError() == WSAEMFILE || ::WSAGetLastError() == WSAENOBUFS; }

bool makeNonBlocking(Socket socket) noexcept {
  u_long isNonBlocking = 1;
  return ::ioctlsocket(socket, static_cast<long>(FIONBIO), &isNonBlocking) == 0;
}

Socket openSocket(int family, int kind, int protocol) noexcept {
  prepareSockets();
  return ::WSASocketW(family, kind, protocol, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
}

Unread peek(Socket socket) noexcept {
  fd_set readable{};
  FD_SET(socket, &readable);
  timeval now{};
  const int count = ::select(0, &readable, nullptr, nullptr, &now);
  if (count == 0) return Unread::Nothing;
  char byte = 0;
  const int size = count > 0 ? ::recv(socket, &byte, 1, MSG_PEEK) : count;
  if (size > 0) return Unread::Bytes;
  return size < 0 && ::WSAGetLastError() == WSAEWOULDBLOCK ? Unread::Nothing : Unread::End;
}

// `WSAPoll` keeps failed connections to itself before Windows 10 of 2020.
void waitFor(std::vector<Watch>& sockets, Waker& waker, int milliseconds) {
  if (sockets.size() >= FD_SETSIZE) throw std::bad_alloc();
  fd_set reading{};
  fd_set writing{};
  fd_set failing{};
  FD_SET(waker.descriptor_, &reading);
  for (const Watch& watch : sockets) {
    if (watch.wantsRead || watch.wantsEnd) FD_SET(watch.socket, &reading);
    if (watch.wantsWrite) FD_SET(watch.socket, &writing);
    FD_SET(watch.socket, &failing);
  }
  constexpr int kSecond = 1000;
  timeval limit{milliseconds / kSecond, milliseconds % kSecond * kSecond};
  // A socket that another thread has closed fails them all; whoever waits looks again.
  if (::select(0, &reading, &writing, &failing, &limit) <= 0) return;
  char byte = 0;
  while (FD_ISSET(waker.descriptor_, &reading) != 0 && ::recv(waker.descriptor_, &byte, 1, 0) > 0) continue;
  for (Watch& watch : sockets) {
    const bool isReadable = FD_ISSET(watch.socket, &reading) != 0;
    watch.canRead = watch.wantsRead && isReadable;
    watch.canWrite = FD_ISSET(watch.socket, &writing) != 0;
    watch.hasFailed = FD_ISSET(watch.socket, &failing) != 0;
    watch.hasEnded = watch.wantsEnd && isReadable;
  }
}

// There are none.
void watchForks(void (* /*before*/)(), void (* /*inParent*/)(), void (* /*inChild*/)()) {}

std::string convertToASCII(const std::string& name) {
  constexpr int kLongest = 255;
  const std::wstring wide = widen(name);
  std::array<wchar_t, kLongest> converted{};
  const int size = wide.empty() ? 0
                                : ::IdnToAscii(0, wide.data(), static_cast<int>(wide.size()), converted.data(),
                                               static_cast<int>(converted.size()));
  std::string result;
  for (int i = 0; i < size; ++i) result += static_cast<char>(converted[static_cast<std::size_t>(i)]);
  return result;
}

bool startThread(void* (*function)(void*), void* data) noexcept {
  try {
    std::thread(function, data).detach();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

FileState obtainFileState(const std::string& path) noexcept {
  HANDLE file = INVALID_HANDLE_VALUE;
  try {
    constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    file = ::CreateFileW(widen(path).c_str(), FILE_READ_ATTRIBUTES, kAll, nullptr, OPEN_EXISTING, 0, nullptr);
  } catch (const std::bad_alloc&) {
    return {};
  }
  if (file == INVALID_HANDLE_VALUE) return {};
  BY_HANDLE_FILE_INFORMATION state{};
  const bool isFile = ::GetFileType(file) == FILE_TYPE_DISK && ::GetFileInformationByHandle(file, &state) != 0;
  ::CloseHandle(file);
  if (!isFile || (state.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return {};
  const auto join = [](DWORD high, DWORD low) { return static_cast<std::int64_t>(std::uint64_t{high} << 32U | low); };
  return {state.dwVolumeSerialNumber, join(state.nFileIndexHigh, state.nFileIndexLow),
          join(state.nFileSizeHigh, state.nFileSizeLow),
          join(state.ftLastWriteTime.dwHighDateTime, state.ftLastWriteTime.dwLowDateTime),
          join(state.ftCreationTime.dwHighDateTime, state.ftCreationTime.dwLowDateTime)};
}

void stayLoaded() noexcept {
  HMODULE module = nullptr;
  constexpr DWORD kHow = GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS;
  // It cannot fail for an address of a module that runs.
  static_cast<void>(::GetModuleHandleExW(kHow, reinterpret_cast<LPCWSTR>(&stayLoaded), &module));
}

}  // namespace qx::platform
