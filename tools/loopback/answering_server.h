// SPDX-License-Identifier: Apache-2.0
// A server that answers every request with the bytes it was told. It does as little as a server can, so that what is
// measured or fuzzed is the client.
#pragma once

#include <openssl/types.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "loopback/listener.h"

namespace standin {
struct TlsIdentity;
}

namespace loopback {

class Channel;

/// Serves from construction to destruction. All operations may be called from any thread.
class AnsweringServer {
 public:
  /// Called with each whole request before it is answered, on one thread at a time for each connection.
  using Observer = std::function<void(const std::string& request)>;

  /// Plain http, or https with an identity.
  explicit AnsweringServer(std::string reply = {}, const standin::TlsIdentity* identity = nullptr,
                           Observer observer = nullptr);
  /// Waits for the end of its connections: clients go before it.
  ~AnsweringServer();
  AnsweringServer(const AnsweringServer&) = delete;
  AnsweringServer& operator=(const AnsweringServer&) = delete;

  int port() const { return listener_.port(); }
  /// Such as "http://127.0.0.1:40123".
  std::string url() const { return (context_ ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(port()); }

  /// The bytes that answer every request from now on; `isLast`: nothing is said after them.
  void setReply(std::string reply, bool isLast);

  std::size_t connectionCount() const;
  /// All that came through the connection that has ended last, from the request on whose reply was the last. Waits
  /// until all have ended.
  std::string awaitReceived();

 private:
  struct Reply {
    std::string bytes;
    bool isLast;
  };

  void addWorker();
  void work();
  void serve(const Channel& channel, std::string& received) const;
  std::shared_ptr<const Reply> obtainReply() const;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::shared_ptr<const Reply> reply_;
  std::size_t begunCount_ = 0;
  std::size_t endedCount_ = 0;
  std::string received_;
  const Observer observer_;
  std::shared_ptr<SSL_CTX> context_;
  const Listener listener_;
  std::list<std::thread> workers_;
  std::size_t idleCount_ = 0;  // workers that wait for a client
};

}  // namespace loopback
