// SPDX-License-Identifier: Apache-2.0
#include "loopback/raw_server.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "loopback/tls_identity.h"

namespace loopback {

namespace {

constexpr std::string_view kHeadEnd = "\r\n\r\n";
constexpr int kBacklog = 16;
constexpr int kPauseMs = 20;

// The size of the request that the text begins with; 0 as long as its head isn't whole.
std::size_t obtainRequestSize(const std::string& text, bool isHeadEnough) {
  if (!isHeadEnough) return messageSize(text);
  const std::size_t headEnd = text.find(kHeadEnd);
  return headEnd == std::string::npos ? 0 : headEnd + kHeadEnd.size();
}

}  // namespace

RawServer::RawServer(std::vector<RawConnection> script, const standin::TlsIdentity* identity, int newestVersion)
    : context_(identity != nullptr ? makeServerContext(*identity, newestVersion) : nullptr),
      listener_(kBacklog),
      stop_(::eventfd(0, EFD_CLOEXEC)) {
  if (stop_ < 0) throw std::runtime_error("no way to end the server");
  thread_ = std::thread([this, connections = std::move(script)] { run(connections); });
}

RawServer::~RawServer() {
  const std::uint64_t one = 1;
  const ssize_t written = ::write(stop_, &one, sizeof(one));
  if (written == sizeof(one)) thread_.join();
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

void RawServer::waitForRepeats(std::size_t count) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this, count] { return repeatCount_ >= count || closedCount_ > 0; });
}

void RawServer::say(const std::string& bytes) {
  // The client may have the whole reply before the thread that sends it knows.
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return !isReplying_; });
  if (latest_ != nullptr) latest_->send(bytes);
}

void RawServer::run(const std::vector<RawConnection>& script) {
  blockBrokenPipes();
  std::vector<std::thread> connections;
  for (std::size_t i = 0; isReadable(listener_.socket(), POLLIN); ++i) {
    const int client = listener_.accept();
    if (client < 0) break;
    connections.emplace_back(&RawServer::serve, this, client, i < script.size() ? script[i] : RawConnection{{""}});
  }
  for (std::thread& connection : connections) connection.join();
}

void RawServer::serve(int client, const RawConnection& connection) {
  {
    Channel channel(client, context_.get());
    talk(channel, connection);
    const std::lock_guard lock(mutex_);
    if (latest_ == &channel) latest_ = nullptr;
  }
  const std::lock_guard lock(mutex_);
  ++closedCount_;
  changed_.notify_all();
}

void RawServer::talk(Channel& channel, const RawConnection& connection) {
  std::string received;
  const bool isTunnel = !connection.tunnelReply.empty();
  if (isTunnel && !(readRequest(channel, received, true) && channel.send(connection.tunnelReply))) return;
  if (!channel.begin()) return;
  {
    const std::lock_guard lock(mutex_);
    latest_ = &channel;
  }
  const std::size_t stride = connection.isByteByByte ? 1 : std::string::npos;
  for (const std::string& reply : connection.replies) {
    if (!readRequest(channel, received, connection.isEarly)) return;
    if (connection.isInRecords) channel.hold(1);
    for (std::size_t sent = 0; sent < reply.size();) {
      const std::size_t size =
          connection.isInRecords ? reply.find('|', sent) - sent : std::min(stride, reply.size() - sent);
      if (!channel.send(std::string_view(reply).substr(sent, size))) return;
      sent += size + (connection.isInRecords ? 1 : 0);
    }
    if (connection.isInRecords) channel.hold(0);
    const std::lock_guard lock(mutex_);
    isReplying_ = false;
    changed_.notify_all();
  }
  if (connection.flood != RawFlood::None || !connection.repeated.empty()) repeat(channel, connection);
  finish(channel, connection.end);
}

void RawServer::repeat(const Channel& channel, const RawConnection& connection) {
  // The client is to have done with the reply.
  for (int pause = kPauseMs; !isReadable(stop_, POLLIN, pause); pause = connection.isSlow ? kPauseMs : 0) {
    const bool isFlood = connection.flood != RawFlood::None;
    if (!(isFlood ? channel.send(connection.flood) : channel.send(connection.repeated))) return;
    const std::lock_guard lock(mutex_);
    ++repeatCount_;
    changed_.notify_all();
  }
}

void RawServer::finish(const Channel& channel, RawEnd end) const {
  constexpr linger kThrowAway = {1, 0};
  if (end == RawEnd::Close || end == RawEnd::Drain) channel.sayGoodbye();
  if (end == RawEnd::Drain || end == RawEnd::Half) ::shutdown(channel.socket(), SHUT_WR);
  if (end == RawEnd::Reset) ::setsockopt(channel.socket(), SOL_SOCKET, SO_LINGER, &kThrowAway, sizeof(kThrowAway));
  if (end == RawEnd::Deaf || end == RawEnd::Half) static_cast<void>(isReadable(stop_, POLLIN));
  const bool isListening = end == RawEnd::Silent || end == RawEnd::Drain;
  std::array<char, 65536> ignored{};
  while (isListening && isReadable(channel.socket(), POLLIN)) {
    if (channel.receive(ignored.data(), ignored.size()) <= 0) return;
  }
}

bool RawServer::readRequest(const Channel& channel, std::string& received, bool isHeadEnough) {
  std::size_t size = obtainRequestSize(received, isHeadEnough);
  while (size == 0 || received.size() < size) {
    const bool hasMore = channel.hasPending() || isReadable(channel.socket(), POLLIN);
    if (!hasMore || !channel.receiveMore(received)) return false;
    size = obtainRequestSize(received, isHeadEnough);
  }
  const std::lock_guard lock(mutex_);
  requests_.push_back(received.substr(0, size));
  isReplying_ = true;
  received.erase(0, size);
  changed_.notify_all();
  return true;
}

// Waits; false when the time is over or the server is to end.
bool RawServer::isReadable(int socket, short events, int milliseconds) const {
  std::array<pollfd, 2> waited = {{{socket, events, 0}, {stop_, POLLIN, 0}}};
  return ::poll(waited.data(), waited.size(), milliseconds) > 0 && (waited[1].revents == 0 || socket == stop_);
}

}  // namespace loopback
