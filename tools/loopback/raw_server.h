// SPDX-License-Identifier: Apache-2.0
// A server on a free port of the loopback interface that knows no HTTP: it answers with the bytes that a test gives.
#pragma once

#include <openssl/types.h>

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "loopback/channel.h"
#include "loopback/listener.h"

namespace standin {
struct TlsIdentity;
}

namespace loopback {

enum class RawEnd {
  Close,   // in good order
  Break,   // without TLS being told; in plain as above
  Reset,   // what is under way is thrown away
  Silent,  // nothing more is said until the client closes
  Deaf,    // nothing more is said or read until this server goes
  Drain,   // nothing more is said, and all is read until the client closes
  Half,    // nothing more is said, which the client is told, or read until this server goes
};

/// What becomes of one connection: a reply to each request in turn, of any bytes or none, and then the end.
struct RawConnection {
  std::vector<std::string> replies;
  RawEnd end = RawEnd::Close;
  std::string repeated = {};        // sent after the replies, until the client has had enough
  bool isSlow = false;              // with a pause between
  bool isByteByByte = false;        // a reply's bytes are sent one at a time
  bool isEarly = false;             // a request is replied to as soon as its head is there; its body isn't read
  std::string tunnelReply = {};     // to a first request in plain text, before TLS begins
  bool isInRecords = false;         // a reply is sent at once, but in pieces that end with "|"; each is a record of TLS
  RawFlood flood = RawFlood::None;  // in place of `repeated`
};

/// Serves from construction to destruction, the connections by the script in the order of their arrival. One beyond the
/// script is closed after its first request.
class RawServer {
 public:
  explicit RawServer(std::vector<RawConnection> script) : RawServer(std::move(script), nullptr) {}
  /// Over TLS, in the versions up to `newestVersion`, such as `TLS1_1_VERSION`; 0: all.
  RawServer(std::vector<RawConnection> script, const standin::TlsIdentity* identity, int newestVersion = 0);
  ~RawServer();
  RawServer(const RawServer&) = delete;
  RawServer& operator=(const RawServer&) = delete;

  int port() const { return listener_.port(); }
  /// Such as "http://127.0.0.1:40123".
  std::string url() const { return (context_ ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(port()); }
  /// All requests so far, head and body as received; the head alone where the reply is early.
  std::vector<std::string> requests() const;
  /// Wait until that many requests have been read, that many connections been closed by this side.
  void waitForRequests(std::size_t count);
  void waitForClosed(std::size_t count);
  /// Waits until `repeated`, or a message of the flood, has been sent that many times or a connection been closed.
  void waitForRepeats(std::size_t count);
  /// Sends more to the client that connected last, whose connection is silent by now.
  void say(const std::string& bytes);
  /// To be changed before a client comes; null in plain.
  SSL_CTX* context() { return context_.get(); }

 private:
  void run(const std::vector<RawConnection>& script);
  void serve(int client, const RawConnection& connection);
  void talk(Channel& channel, const RawConnection& connection);
  void repeat(const Channel& channel, const RawConnection& connection);
  bool readRequest(const Channel& channel, std::string& received, bool isHeadEnough);
  void finish(const Channel& channel, RawEnd end) const;
  bool isReadable(int socket, short events, int milliseconds = -1) const;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> requests_;
  Channel* latest_ = nullptr;
  bool isReplying_ = false;
  std::size_t closedCount_ = 0;
  std::size_t repeatCount_ = 0;
  std::shared_ptr<SSL_CTX> context_;
  const Listener listener_;
  int stop_ = -1;
  std::thread thread_;
};

}  // namespace loopback
