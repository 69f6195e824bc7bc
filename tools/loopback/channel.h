// SPDX-License-Identifier: Apache-2.0
// A client's connection, plain or inside TLS.
#pragma once

#include <openssl/types.h>

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>

namespace loopback {

/// Messages of TLS itself that a server may send at any time, from 1.3 on.
enum class RawFlood { None, KeyUpdates, Tickets };

/// Owns the socket. One thread may speak while the connection's own waits for the socket to be readable.
class Channel {
 public:
  /// `context` is not owned and must outlive this; null: plain.
  Channel(int socket, SSL_CTX* context);
  ~Channel();
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  /// The handshake, where there is one. False when it fails.
  bool begin();
  /// The number of bytes; less than 1 at the end.
  long receive(char* target, std::size_t size) const;
  /// Appends some of what comes. False at the end.
  bool receiveMore(std::string& target) const;
  /// Puts one whole HTTP message in the target's place, and perhaps the beginning of the next. False at the end.
  bool receive(std::string& message) const;
  /// False when the client has had enough.
  bool send(std::string_view bytes) const;
  /// Sends many such messages at once, so that the client cannot keep up with them.
  bool send(RawFlood kind) const;
  /// Sends nothing of what it is given until it is switched off again.
  void hold(int isOn) const;
  bool hasPending() const;
  void sayGoodbye() const;
  int socket() const { return socket_; }

 private:
  int socket_;
  SSL_CTX* context_;
  SSL* ssl_ = nullptr;
  mutable std::mutex mutex_;
};

/// OpenSSL writes without regard to a client that has gone: the signal of it is held back from the calling thread.
void blockBrokenPipes();

/// The size of the HTTP message that the text begins with, by its Content-Length; 0 as long as its head isn't whole.
std::size_t messageSize(std::string_view text);

}  // namespace loopback
