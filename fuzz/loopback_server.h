// A server on a free port of the loopback interface that answers every request with the bytes it was told. It is made
// for thousands of calls a second and gives no thought to what it reads but to where it ends.
#pragma once

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdlib>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

/// Lives as long as the process.
class LoopbackServer {
 public:
  LoopbackServer() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (::bind(listener_, plain, size) != 0 || ::listen(listener_, 16) != 0 ||
        ::getsockname(listener_, plain, &size) != 0) {
      std::abort();
    }
    url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    std::thread([this] { run(); }).detach();
  }
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  const std::string& url() const { return url_; }

  /// The bytes that answer every request from now on; `isLast`: the connection ends behind them.
  void setReply(std::string reply, bool isLast) {
    const std::lock_guard lock(mutex_);
    reply_ = std::move(reply);
    isLast_ = isLast;
  }

  std::size_t connectionCount() {
    const std::lock_guard lock(mutex_);
    return begun_;
  }

  /// All bytes that came through the connection before the latest end of one. Waits until all have ended.
  std::string awaitReceived() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return begun_ == ended_; });
    return received_;
  }

 private:
  struct Connection {
    int socket;
    std::string received = {};
    std::size_t requestBegin = 0;
  };

  // One thread for all connections: short-lived ones would look like leaks.
  void run() {
    std::vector<pollfd> waited;
    for (;;) {
      waited.assign(1, {listener_, POLLIN, 0});
      for (const Connection& connection : connections_) waited.push_back({connection.socket, POLLIN, 0});
      if (::poll(waited.data(), waited.size(), -1) < 0) std::abort();
      const std::lock_guard lock(mutex_);
      for (std::size_t i = connections_.size(); i > 0; --i) {
        if (waited[i].revents != 0 && !read(connections_[i - 1])) end(i - 1);
      }
      if (waited[0].revents != 0) begin();
    }
  }

  void begin() {
    const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) std::abort();
    connections_.push_back({client});
    ++begun_;
  }

  void end(std::size_t index) {
    ::close(connections_[index].socket);
    received_ = std::move(connections_[index].received);
    connections_.erase(connections_.begin() + static_cast<std::ptrdiff_t>(index));
    ++ended_;
    changed_.notify_all();
  }

  bool read(Connection& connection) {
    std::array<char, 65536> bytes;
    const ssize_t count = ::recv(connection.socket, bytes.data(), bytes.size(), 0);
    if (count <= 0) return false;
    connection.received.append(bytes.data(), static_cast<std::size_t>(count));
    if (!isWhole(std::string_view(connection.received).substr(connection.requestBegin))) return true;
    connection.requestBegin = connection.received.size();
    const bool isSent = ::send(connection.socket, reply_.data(), reply_.size(), MSG_NOSIGNAL) >= 0;
    return isSent && (!isLast_ || ::shutdown(connection.socket, SHUT_WR) == 0);
  }

  static bool isWhole(std::string_view request) {
    constexpr std::string_view kLength = "\r\nContent-Length: ";
    const std::size_t headSize = request.find("\r\n\r\n") + 4;
    if (headSize < 4) return false;
    const std::size_t length = request.substr(0, headSize).find(kLength);
    if (length == std::string_view::npos) return true;
    return request.size() - headSize >= std::strtoul(request.data() + length + kLength.size(), nullptr, 10);
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::string reply_;
  bool isLast_ = false;
  std::size_t begun_ = 0;
  std::size_t ended_ = 0;
  std::string received_;
  std::vector<Connection> connections_;  // the thread's own
  int listener_;
  std::string url_;
};
