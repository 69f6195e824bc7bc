// SPDX-License-Identifier: Apache-2.0
#include "loopback/channel.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <csignal>

namespace loopback {

Channel::Channel(int socket, SSL_CTX* context) : socket_(socket), context_(context) {
  const int isOn = 1;
  static_cast<void>(::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &isOn, sizeof(isOn)));
}

Channel::~Channel() {
  SSL_free(ssl_);
  ::close(socket_);
}

bool Channel::begin() {
  if (context_ == nullptr) return true;
  ssl_ = SSL_new(context_);
  return SSL_set_fd(ssl_, socket_) == 1 && SSL_accept(ssl_) == 1;
}

long Channel::receive(char* target, std::size_t size) const {
  const std::lock_guard lock(mutex_);
  return ssl_ != nullptr ? SSL_read(ssl_, target, static_cast<int>(size)) : ::recv(socket_, target, size, 0);
}

bool Channel::receiveMore(std::string& target) const {
  std::array<char, 65536> bytes;
  const long count = receive(bytes.data(), bytes.size());
  if (count > 0) target.append(bytes.data(), static_cast<std::size_t>(count));
  return count > 0;
}

bool Channel::receive(std::string& message) const {
  message.clear();
  std::size_t size = 0;
  while (size == 0 || message.size() < size) {
    if (!receiveMore(message)) return false;
    if (size == 0) size = messageSize(message);
  }
  return true;
}

bool Channel::send(std::string_view bytes) const {
  const std::lock_guard lock(mutex_);
  while (!bytes.empty()) {
    const long sent = ssl_ != nullptr ? SSL_write(ssl_, bytes.data(), static_cast<int>(bytes.size()))
                                      : ::send(socket_, bytes.data(), bytes.size(), 0);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool Channel::send(RawFlood kind) const {
  const std::lock_guard lock(mutex_);
  BIO* const wire = SSL_get_wbio(ssl_);
  BIO* const batch = BIO_new(BIO_s_mem());
  BIO_up_ref(wire);
  SSL_set0_wbio(ssl_, batch);
  for (int i = 0; i < 256; ++i) {
    kind == RawFlood::Tickets ? SSL_new_session_ticket(ssl_) : SSL_key_update(ssl_, SSL_KEY_UPDATE_NOT_REQUESTED);
    if (SSL_do_handshake(ssl_) != 1) break;
  }
  char* bytes = nullptr;
  const long size = BIO_get_mem_data(batch, &bytes);
  const bool isSent = BIO_write(wire, bytes, static_cast<int>(size)) == size;
  SSL_set0_wbio(ssl_, wire);
  return isSent;
}

void Channel::hold(int isOn) const {
  static_cast<void>(::setsockopt(socket_, IPPROTO_TCP, TCP_CORK, &isOn, sizeof(isOn)));
}

bool Channel::hasPending() const {
  const std::lock_guard lock(mutex_);
  return ssl_ != nullptr && SSL_pending(ssl_) > 0;
}

void Channel::sayGoodbye() const {
  const std::lock_guard lock(mutex_);
  if (ssl_ != nullptr) static_cast<void>(SSL_shutdown(ssl_));  // the answer to it isn't awaited
}

void blockBrokenPipes() {
  sigset_t brokenPipe;
  sigemptyset(&brokenPipe);
  sigaddset(&brokenPipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
}

std::size_t messageSize(std::string_view text) {
  constexpr std::string_view kHeadEnd = "\r\n\r\n";
  constexpr std::string_view kLength = "\r\nContent-Length: ";
  const std::size_t headSize = text.find(kHeadEnd) + kHeadEnd.size();
  if (headSize < kHeadEnd.size()) return 0;
  const std::string_view head = text.substr(0, headSize);
  const std::size_t length = head.find(kLength);
  std::size_t bodySize = 0;
  // Without the header nothing is read, and the size stays 0.
  if (length < headSize) std::from_chars(head.data() + length + kLength.size(), head.data() + headSize, bodySize);
  return headSize + bodySize;
}

}  // namespace loopback
