// A server on a free port of the loopback interface that knows no HTTP: it answers with the bytes that a test gives.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace support {

/// What becomes of one connection: a reply to each request in turn, of any bytes or none; then it is closed.
struct RawConnection {
  std::vector<std::string> replies;
  bool isHeldOpen = false;  // instead of closing, nothing is said any more until the client closes
};

/// Serves from construction to destruction, the connections by the script in the order of their arrival. One beyond the
/// script is closed behind its first request.
class RawServer {
 public:
  explicit RawServer(std::vector<RawConnection> script);
  ~RawServer();
  RawServer(const RawServer&) = delete;
  RawServer& operator=(const RawServer&) = delete;

  int port() const { return port_; }
  /// Such as "http://127.0.0.1:40123".
  std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
  /// All whole requests so far, head and body as received.
  std::vector<std::string> requests() const;
  /// Wait until that many requests have been read, that many connections been closed by this side.
  void waitForRequests(std::size_t count);
  void waitForClosed(std::size_t count);

 private:
  void run(const std::vector<RawConnection>& script);
  void serve(int client, const RawConnection& connection);
  void talk(int client, const RawConnection& connection);
  bool readRequest(int client, std::string& received);
  bool isReadable(int socket) const;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> requests_;
  std::size_t closedCount_ = 0;
  int listener_ = -1;
  int stop_ = -1;
  int port_ = 0;
  std::thread thread_;
};

}  // namespace support
