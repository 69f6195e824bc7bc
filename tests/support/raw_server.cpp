#include "support/raw_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace support {
namespace {

constexpr std::string_view kHeadEnd = "\r\n\r\n";
constexpr std::string_view kLengthName = "Content-Length: ";

// The size of the request that the text begins with; 0 as long as its head isn't whole.
std::size_t obtainRequestSize(const std::string& text) {
  const std::size_t headEnd = text.find(kHeadEnd);
  if (headEnd == std::string::npos) return 0;
  const std::size_t length = text.find(kLengthName);
  const std::size_t bodySize = length < headEnd ? std::stoul(text.substr(length + kLengthName.size())) : 0;
  return headEnd + kHeadEnd.size() + bodySize;
}

void sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;  // the client has had enough
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

}  // namespace

RawServer::RawServer(std::vector<RawConnection> script) {
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  stop_ = ::eventfd(0, EFD_CLOEXEC);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* const plain = reinterpret_cast<sockaddr*>(&address);
  if (stop_ < 0 || ::bind(listener_, plain, size) != 0 || ::listen(listener_, 16) != 0 ||
      ::getsockname(listener_, plain, &size) != 0) {
    throw std::runtime_error("no port on the loopback interface");
  }
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this, connections = std::move(script)] { run(connections); });
}

RawServer::~RawServer() {
  const std::uint64_t one = 1;
  const ssize_t written = ::write(stop_, &one, sizeof(one));
  if (written == sizeof(one)) thread_.join();
  ::close(listener_);
  ::close(stop_);
}

std::vector<std::string> RawServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void RawServer::waitForRequests(std::size_t count) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this, count] { return requests_.size() >= count; });
}

void RawServer::waitForClosed(std::size_t count) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this, count] { return closedCount_ >= count; });
}

void RawServer::run(const std::vector<RawConnection>& script) {
  std::vector<std::thread> connections;
  for (std::size_t i = 0; isReadable(listener_); ++i) {
    const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) break;
    connections.emplace_back(&RawServer::serve, this, client, i < script.size() ? script[i] : RawConnection{{""}});
  }
  for (std::thread& connection : connections) connection.join();
}

void RawServer::serve(int client, const RawConnection& connection) {
  talk(client, connection);
  ::close(client);
  const std::lock_guard lock(mutex_);
  ++closedCount_;
  changed_.notify_all();
}

void RawServer::talk(int client, const RawConnection& connection) {
  std::string received;
  for (const std::string& reply : connection.replies) {
    if (!readRequest(client, received)) return;
    sendAll(client, reply);
  }
  while (connection.isHeldOpen && isReadable(client)) {
    std::array<char, 4096> ignored{};
    if (::recv(client, ignored.data(), ignored.size(), 0) <= 0) return;
  }
}

bool RawServer::readRequest(int client, std::string& received) {
  std::size_t size = obtainRequestSize(received);
  while (size == 0 || received.size() < size) {
    std::array<char, 65536> bytes{};
    const ssize_t count = isReadable(client) ? ::recv(client, bytes.data(), bytes.size(), 0) : 0;
    if (count <= 0) return false;
    received.append(bytes.data(), static_cast<std::size_t>(count));
    size = obtainRequestSize(received);
  }
  const std::lock_guard lock(mutex_);
  requests_.push_back(received.substr(0, size));
  received.erase(0, size);
  changed_.notify_all();
  return true;
}

// Waits; false when the server is to end.
bool RawServer::isReadable(int socket) const {
  std::array<pollfd, 2> waited = {{{socket, POLLIN, 0}, {stop_, POLLIN, 0}}};
  return ::poll(waited.data(), waited.size(), -1) > 0 && waited[1].revents == 0;
}

}  // namespace support
