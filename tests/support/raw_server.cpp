#include "support/raw_server.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <stdexcept>
#include <utility>

#include "support/tls_identity.h"

namespace support {

/// A client's connection, plain or inside TLS.
class RawChannel {
 public:
  RawChannel(int socket, SSL_CTX* context) : socket_(socket), context_(context) {}
  ~RawChannel() {
    SSL_free(ssl_);
    ::close(socket_);
  }
  RawChannel(const RawChannel&) = delete;
  RawChannel& operator=(const RawChannel&) = delete;

  bool begin() {
    if (context_ == nullptr) return true;
    ssl_ = SSL_new(context_);
    return SSL_set_fd(ssl_, socket_) == 1 && SSL_accept(ssl_) == 1;
  }
  long receive(char* target, std::size_t size) const {
    const std::lock_guard lock(mutex_);
    return ssl_ != nullptr ? SSL_read(ssl_, target, static_cast<int>(size)) : ::recv(socket_, target, size, 0);
  }
  bool send(std::string_view bytes) const {
    const std::lock_guard lock(mutex_);
    while (!bytes.empty()) {
      const long sent = ssl_ != nullptr ? SSL_write(ssl_, bytes.data(), static_cast<int>(bytes.size()))
                                        : ::send(socket_, bytes.data(), bytes.size(), 0);
      if (sent <= 0) return false;  // the client has had enough
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }
  bool send(RawFlood kind) const {
    const std::lock_guard lock(mutex_);
    BIO* const wire = SSL_get_wbio(ssl_);
    BIO* const batch = BIO_new(BIO_s_mem());  // many at a time, so that the client cannot keep up with them
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
  void hold(int isOn) const { ::setsockopt(socket_, IPPROTO_TCP, TCP_CORK, &isOn, sizeof(isOn)); }
  bool hasPending() const {
    const std::lock_guard lock(mutex_);
    return ssl_ != nullptr && SSL_pending(ssl_) > 0;
  }
  void sayGoodbye() const {
    const std::lock_guard lock(mutex_);
    if (ssl_ != nullptr) static_cast<void>(SSL_shutdown(ssl_));  // the answer to it isn't awaited
  }
  int socket() const { return socket_; }

 private:
  int socket_;
  SSL_CTX* context_;
  SSL* ssl_ = nullptr;
  mutable std::mutex mutex_;  // a test's thread may speak while the connection's own listens
};

namespace {

constexpr std::string_view kHeadEnd = "\r\n\r\n";
constexpr std::string_view kLengthName = "Content-Length: ";
constexpr int kPauseMs = 20;

// The size of the request that the text begins with; 0 as long as its head isn't whole.
std::size_t obtainRequestSize(const std::string& text, bool isHeadEnough) {
  const std::size_t headEnd = text.find(kHeadEnd);
  if (headEnd == std::string::npos) return 0;
  const std::size_t length = isHeadEnough ? std::string::npos : text.find(kLengthName);
  const std::size_t bodySize = length < headEnd ? std::stoul(text.substr(length + kLengthName.size())) : 0;
  return headEnd + kHeadEnd.size() + bodySize;
}

}  // namespace

RawServer::RawServer(std::vector<RawConnection> script, const standin::TlsIdentity* identity, int newestVersion) {
  if (identity != nullptr) context_ = makeServerContext(*identity, newestVersion);
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
  // OpenSSL writes without regard to it, and a client that is gone is nothing unusual here.
  sigset_t brokenPipe;
  sigemptyset(&brokenPipe);
  sigaddset(&brokenPipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
  std::vector<std::thread> connections;
  for (std::size_t i = 0; isReadable(listener_, POLLIN); ++i) {
    const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) break;
    connections.emplace_back(&RawServer::serve, this, client, i < script.size() ? script[i] : RawConnection{{""}});
  }
  for (std::thread& connection : connections) connection.join();
}

void RawServer::serve(int client, const RawConnection& connection) {
  {
    const int isOn = 1;
    ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &isOn, sizeof(isOn));
    RawChannel channel(client, context_.get());
    talk(channel, connection);
    const std::lock_guard lock(mutex_);
    if (latest_ == &channel) latest_ = nullptr;
  }
  const std::lock_guard lock(mutex_);
  ++closedCount_;
  changed_.notify_all();
}

void RawServer::talk(RawChannel& channel, const RawConnection& connection) {
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

void RawServer::repeat(const RawChannel& channel, const RawConnection& connection) {
  // The client is to have done with the reply.
  for (int pause = kPauseMs; !isReadable(stop_, POLLIN, pause); pause = connection.isSlow ? kPauseMs : 0) {
    const bool isFlood = connection.flood != RawFlood::None;
    if (!(isFlood ? channel.send(connection.flood) : channel.send(connection.repeated))) return;
    const std::lock_guard lock(mutex_);
    ++repeatCount_;
    changed_.notify_all();
  }
}

void RawServer::finish(const RawChannel& channel, RawEnd end) const {
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

bool RawServer::readRequest(const RawChannel& channel, std::string& received, bool isHeadEnough) {
  std::size_t size = obtainRequestSize(received, isHeadEnough);
  while (size == 0 || received.size() < size) {
    std::array<char, 65536> bytes{};
    const bool hasMore = channel.hasPending() || isReadable(channel.socket(), POLLIN);
    const long count = hasMore ? channel.receive(bytes.data(), bytes.size()) : 0;
    if (count <= 0) return false;
    received.append(bytes.data(), static_cast<std::size_t>(count));
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

}  // namespace support
