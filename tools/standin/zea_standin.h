// SPDX-License-Identifier: Apache-2.0
// A stand-in for a provider: an HTTP server on a free port of the loopback interface.
//
// It records every request whole and answers by script. Without a script it behaves as a small "model" in the
// provider's wire format: it answers with a sentence about the tables that the system prompt told it of, and says
// plainly that it is a stand-in. It is there for tests, for first tries without a key, and for demonstrations.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace standin {

/// A request as it was received.
struct Request {
  std::string method;                                        // "GET", "POST"
  std::string target;                                        // path and query as sent, percent-encoded
  std::vector<std::pair<std::string, std::string>> headers;  // in no particular order
  std::string body;
  int clientPort = 0;  // tells connections apart

  /// The value of a header, its name compared without regard to case; empty when there is none.
  std::string header(const std::string& name) const;
};

/// A scripted answer.
struct Reply {
  int status = 200;
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers = {{"Content-Type", "application/json"}};
  std::chrono::milliseconds delay{0};  // waited before the answer begins; ended early by the server's end
  std::optional<std::size_t> cutAfterBytes = std::nullopt;  // the connection ends after that many bytes of the body
  bool closeUnanswered = false;                             // the connection ends without a byte of an answer
};

/// What a server on TLS shows of itself; both PEM texts.
struct TlsIdentity {
  std::string certificate;
  std::string privateKey;
};

/// The server. It listens from construction to destruction; all operations may be called from any thread.
class Server {
 public:
  /// Throws `std::runtime_error` when no port can be had or the identity cannot be read.
  Server();
  /// Serves https.
  explicit Server(const TlsIdentity& identity);
  /// On a given port, for people. Throws `std::runtime_error` when it is taken.
  explicit Server(int port);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  int port() const;
  /// Such as "http://127.0.0.1:40123".
  std::string url() const;

  /// Scripted replies are used up in the order of their addition, one a request, whatever the request is.
  void enqueue(Reply reply);

  /// Asks `script` for the answer to each request from now on for which no reply has been added; where it has none
  /// either, the model answers. Called on threads of the server, several at once. It must neither throw nor call the
  /// server.
  void answerBy(std::function<std::optional<Reply>(const Request&)> script);

  /// Calls `observer` for each request from now on, one at a time, on a thread of the server and before the request is
  /// answered. It must neither throw nor call the server.
  void observe(std::function<void(const Request&)> observer);

  /// All requests so far, in the order of their arrival.
  std::vector<Request> requests() const;
  /// The number of different connections that requests have come through.
  std::size_t connectionCount() const;

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace standin
