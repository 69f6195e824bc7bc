// A server on a free port of the loopback interface that answers every request at once with the same reply. It does as
// little as a server can, so that what is measured is the client.
#pragma once

#include <openssl/types.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "standin/zea_standin.h"

/// Hundreds of connections take more files than a process may have open by default. Throws `std::runtime_error`.
void allowManyFiles();

class LoopbackServer {
 public:
  /// Plain http, or https with an identity. `body` is the reply's.
  explicit LoopbackServer(std::string body, const standin::TlsIdentity* identity = nullptr);
  /// Waits for the end of its connections: clients go before it.
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  int port() const { return port_; }
  std::string url() const;

 private:
  void accept();
  void serve(int client) const;

  std::string reply_;
  std::shared_ptr<SSL_CTX> context_;
  int listener_ = -1;
  int port_ = 0;
  std::mutex mutex_;
  std::condition_variable idle_;
  int serving_ = 0;  // connections, guarded by the mutex
  std::thread accepting_;
};

/// Reads one HTTP message whole with `receive(buffer, size)`, which gives the number of bytes or less than 1 at the
/// end. False at the end.
template <class Receive>
bool readMessage(std::string& received, Receive receive) {
  received.clear();
  std::size_t whole = std::string::npos;
  char buffer[65536];
  while (received.size() < whole) {
    const auto size = receive(buffer, sizeof buffer);
    if (size < 1) return false;
    received.append(buffer, static_cast<std::size_t>(size));
    if (whole != std::string::npos) continue;
    const std::size_t head = received.find("\r\n\r\n");
    if (head == std::string::npos) continue;
    const std::size_t length = received.find("Content-Length: ");
    whole = head + 4 + (length < head ? std::stoul(received.substr(length + 16, 20)) : 0);
  }
  return true;
}
