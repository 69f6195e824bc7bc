// SPDX-License-Identifier: Apache-2.0
// Room for the sockets of a transfer and the waker's.
#define FD_SETSIZE 128
#include <winsock2.h>
// The order matters: the others build on the first.
#include <windows.h>
#include <ws2tcpip.h>

#include <wincrypt.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <system_error>
#include <thread>

#include "address_text.h"
#include "platform.h"

namespace qx::platform {

static_assert(sizeof(Socket) == sizeof(SOCKET) && kNoSocket == INVALID_SOCKET);

namespace {

// Never taken back: libcurl, which uses sockets too, isn't cleaned up either.
void prepareSockets() noexcept {
  static const int result = [] {
    WSADATA data{};
    return ::WSAStartup(MAKEWORD(2, 2), &data);
  }();
  static_cast<void>(result);  // without sockets the next function fails
}

/// Empty when the text is no UTF-8.
std::wstring widen(const std::string& text) {
  const int size = static_cast<int>(text.size());
  const int count = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(std::max(count, 0)), L'\0');
  ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, wide.data(), count);
  return wide;
}

/// Whether the authority may name servers. One that says nothing of its use is good for all, if it lies in the store of
/// the trusted.
bool isForServers(PCCERT_CONTEXT certificate) {
  DWORD size = 0;
  if (::CertGetEnhancedKeyUsage(certificate, 0, nullptr, &size) == 0) return false;
  const auto memory = std::make_unique<CERT_ENHKEY_USAGE[]>(size / sizeof(CERT_ENHKEY_USAGE) + 1);
  CERT_ENHKEY_USAGE* const usage = memory.get();
  if (::CertGetEnhancedKeyUsage(certificate, 0, usage, &size) == 0) return false;
  if (usage->cUsageIdentifier == 0) return ::GetLastError() == static_cast<DWORD>(CRYPT_E_NOT_FOUND);
  return std::any_of(usage->rgpszUsageIdentifier, usage->rgpszUsageIdentifier + usage->cUsageIdentifier,
                     [](const char* one) { return std::strcmp(one, szOID_PKIX_KP_SERVER_AUTH) == 0; });
}

}  // namespace

static_assert(sizeof(Mutex) == sizeof(SRWLOCK));

void Mutex::lock() noexcept { ::AcquireSRWLockExclusive(reinterpret_cast<SRWLOCK*>(&state_)); }
bool Mutex::try_lock() noexcept { return ::TryAcquireSRWLockExclusive(reinterpret_cast<SRWLOCK*>(&state_)) != 0; }
void Mutex::unlock() noexcept { ::ReleaseSRWLockExclusive(reinterpret_cast<SRWLOCK*>(&state_)); }

Socket openSocket(int family, int kind, int protocol) noexcept {
  prepareSockets();
  return ::WSASocketW(family, kind, protocol, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
}

bool hasFreeDescriptor() noexcept {
  const Socket socket = openSocket(AF_INET, SOCK_STREAM, 0);
  if (socket == kNoSocket) return ::WSAGetLastError() != WSAEMFILE && ::WSAGetLastError() != WSAENOBUFS;
  ::closesocket(socket);
  return true;
}

// libcurl wakes by an event here, which no program inherits.
bool inheritsWakingPair() noexcept { return false; }

std::array<Socket, 2> guessNextDescriptors() noexcept { return {kNoSocket, kNoSocket}; }

int countLocalBytes(Socket /*socket*/) noexcept { return -1; }

void closeOnExec(Socket /*socket*/) noexcept {}

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

// `select`, which waits, knows nothing but sockets: this one talks to itself, and hears nobody else.
Waker::Waker() noexcept : descriptor_(openSocket(AF_INET, SOCK_DGRAM, 0)) {
  if (!isOpen()) return;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  int size = sizeof(address);
  u_long isNonBlocking = 1;
  const bool isReady = ::bind(descriptor_, any, size) == 0 && ::getsockname(descriptor_, any, &size) == 0 &&
                       ::connect(descriptor_, any, size) == 0 &&
                       ::ioctlsocket(descriptor_, static_cast<long>(FIONBIO), &isNonBlocking) == 0;
  if (isReady) return;
  ::closesocket(descriptor_);
  descriptor_ = kNoSocket;
}

Waker::~Waker() {
  if (isOpen()) ::closesocket(descriptor_);
}

// It fails only where earlier bytes fill the socket, and then the other thread is woken anyway.
void Waker::wake() noexcept { static_cast<void>(::send(descriptor_, "", 1, 0)); }

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

std::vector<std::string> lookUp(const std::string& name) {
  prepareSockets();
  return listAddresses(name);
}

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

bool isAddress(const std::string& text) noexcept {
  prepareSockets();
  return isAddressText(text);
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

std::vector<std::string> obtainSystemAuthorities() {
  struct Close {
    void operator()(void* store) const noexcept { ::CertCloseStore(store, 0); }
  };
  std::vector<std::string> found;
  const std::unique_ptr<void, Close> store(::CertOpenSystemStoreW(0, L"ROOT"));
  if (!store) return found;
  // The next one is asked for with the one before, which frees it.
  PCCERT_CONTEXT one = nullptr;
  try {
    while ((one = ::CertEnumCertificatesInStore(store.get(), one)) != nullptr) {
      if (!isForServers(one)) continue;
      found.emplace_back(reinterpret_cast<const char*>(one->pbCertEncoded), one->cbCertEncoded);
    }
  } catch (...) {
    ::CertFreeCertificateContext(one);
    throw;
  }
  return found;
}

void stayLoaded() noexcept {
  HMODULE module = nullptr;
  constexpr DWORD kHow = GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS;
  // It cannot fail for an address of a module that runs.
  static_cast<void>(::GetModuleHandleExW(kHow, reinterpret_cast<LPCWSTR>(&stayLoaded), &module));
}

}  // namespace qx::platform
