// SPDX-License-Identifier: Apache-2.0
#include "standin/zea_standin.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <httplib.h>
#include <netinet/in.h>
#include <openssl/pem.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <filesystem>
#include <future>
#include <limits>
#include <mutex>
#include <set>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "qx/defer.h"
#include "standin/standin_model.h"

namespace standin {

namespace {

using namespace std::chrono_literals;

constexpr const char* kAddress = "127.0.0.1";
// Each connection that is kept open holds one of the threads.
constexpr std::size_t kThreads = 16;
constexpr std::time_t kIdleSeconds = 600;

// The port of one end of a socket; 0 when it has none.
int portOf(int socket, int (*nameOf)(int, sockaddr*, socklen_t*)) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (nameOf(socket, generic, &size) != 0 || address.sin_family != AF_INET) return 0;
  return ntohs(address.sin_port);
}

// A descriptor of its own for a socket that another thread may be closing: with it, the checks and what is done
// afterwards concern the same socket, whatever becomes of the number.
class BorrowedSocket {
 public:
  explicit BorrowedSocket(int descriptor) : descriptor_(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0)) {}
  ~BorrowedSocket() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  BorrowedSocket(const BorrowedSocket&) = delete;
  BorrowedSocket& operator=(const BorrowedSocket&) = delete;

  bool connects(int serverPort, int clientPort) const {
    if (portOf(descriptor_, ::getsockname) != serverPort) return false;
    const int peer = portOf(descriptor_, ::getpeername);
    return peer != 0 && (clientPort == 0 || peer == clientPort);
  }
  // A socket that the other side has ended already cannot be shut down, which is as good.
  void shutDown() const { static_cast<void>(::shutdown(descriptor_, SHUT_RDWR)); }

 private:
  int descriptor_;
};

// Ends the connections that this process serves on `serverPort`, or the one from `clientPort`. The HTTP library
// keeps its sockets to itself, so they are found among the descriptors of the process.
void shutDownConnections(int serverPort, int clientPort = 0) {
  std::error_code failure;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", failure)) {
    const std::string name = entry.path().filename();
    int descriptor = -1;
    if (std::from_chars(name.data(), name.data() + name.size(), descriptor).ec != std::errc()) continue;
    const BorrowedSocket socket(descriptor);
    if (socket.connects(serverPort, clientPort)) socket.shutDown();
  }
}

struct FreeBio {
  void operator()(BIO* bio) const { BIO_free_all(bio); }
};
struct FreeCertificate {
  void operator()(X509* certificate) const { X509_free(certificate); }
};
struct FreeKey {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};

std::unique_ptr<BIO, FreeBio> readerOf(const std::string& text) {
  return std::unique_ptr<BIO, FreeBio>(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

std::unique_ptr<httplib::Server> createTlsServer(const TlsIdentity& identity) {
  const auto certificateText = readerOf(identity.certificate);
  const auto keyText = readerOf(identity.privateKey);
  if (!certificateText || !keyText) throw std::bad_alloc();
  const std::unique_ptr<X509, FreeCertificate> certificate(
      PEM_read_bio_X509(certificateText.get(), nullptr, nullptr, nullptr));
  const std::unique_ptr<EVP_PKEY, FreeKey> key(PEM_read_bio_PrivateKey(keyText.get(), nullptr, nullptr, nullptr));
  if (!certificate || !key) throw std::runtime_error("The stand-in's certificate or key cannot be read.");
  auto server = std::make_unique<httplib::SSLServer>(certificate.get(), key.get());
  if (!server->is_valid()) throw std::runtime_error("The stand-in's certificate and key don't fit together.");
  return server;
}

// Without SO_REUSEPORT, which the library would set: two stand-ins on one port would share its requests.
void setSocketOptions(int socket) {
  const int yes = 1;
  if (::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) != 0) {
    throw std::system_error(errno, std::generic_category(), "setsockopt");
  }
}

Request readRequest(const httplib::Request& received) {
  // The library adds these to what was sent.
  static constexpr std::array<std::string_view, 4> added = {"REMOTE_ADDR", "REMOTE_PORT", "LOCAL_ADDR", "LOCAL_PORT"};
  Request request;
  request.method = received.method;
  request.target = received.target;
  request.body = received.body;
  request.clientPort = received.remote_port;
  for (const auto& [name, value] : received.headers) {
    if (std::find(added.begin(), added.end(), name) == added.end()) request.headers.emplace_back(name, value);
  }
  return request;
}

// The body goes through a content provider: the library then neither packs it nor adds to it, and the provider can
// stop inside it.
void writeReply(Reply reply, httplib::Response& response) {
  response.status = reply.status;
  if (reply.body.empty()) {
    response.headers.clear();
  } else {
    const std::size_t size = reply.body.size();
    const std::size_t limit = std::min(size, reply.cutAfterBytes.value_or(size));
    response.set_content_provider(
        size, "application/json",
        [body = std::move(reply.body), limit](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
          const std::size_t end = std::min(offset + length, limit);
          return offset < end && sink.write(body.data() + offset, end - offset);
        });
    response.headers.erase("Content-Type");
  }
  for (const auto& [name, value] : reply.headers) response.set_header(name, value);
}

}  // namespace

std::string Request::header(const std::string& name) const {
  for (const auto& [key, value] : headers) {
    if (::strcasecmp(key.c_str(), name.c_str()) == 0) return value;
  }
  return {};
}

class Server::Implementation {
 public:
  Implementation(std::unique_ptr<httplib::Server> server, const char* scheme, int port)
      : server_(std::move(server)), scheme_(scheme) {
    configure();
    listen(port);
  }

  ~Implementation() {
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    stop_.notify_all();
    server_->stop();
    // A connection that was being accepted may show up after the first round.
    do {
      shutDownConnections(port_);
    } while (listening_.wait_for(5ms) != std::future_status::ready);
  }

  Implementation(const Implementation&) = delete;
  Implementation& operator=(const Implementation&) = delete;

  int port() const { return port_; }
  std::string url() const { return std::string(scheme_) + "://" + kAddress + ":" + std::to_string(port_); }

  void enqueue(Reply reply) {
    const std::lock_guard lock(mutex_);
    script_.push_back(std::move(reply));
  }

  void answerBy(std::function<std::optional<Reply>(const Request&)> script) {
    const std::lock_guard lock(mutex_);
    answerer_ = std::move(script);
  }

  void observe(std::function<void(const Request&)> observer) {
    const std::lock_guard lock(mutex_);
    observer_ = std::move(observer);
  }

  std::vector<Request> requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
  }

  std::size_t connectionCount() const {
    const std::lock_guard lock(mutex_);
    return clientPorts_.size();
  }

 private:
  void configure() {
    server_->set_socket_options(setSocketOptions);
    server_->set_tcp_nodelay(true);
    server_->set_keep_alive_max_count(std::numeric_limits<std::size_t>::max());
    server_->set_keep_alive_timeout(kIdleSeconds);
    server_->new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    const auto handler = [this](const httplib::Request& request, httplib::Response& response) {
      handle(request, response);
    };
    constexpr const char* any = R"([^]*)";
    server_->Get(any, handler).Post(any, handler).Put(any, handler);
    server_->Patch(any, handler).Delete(any, handler).Options(any, handler);
  }

  void listen(int port) {
    port_ = port;
    const bool isBound =
        port == 0 ? (port_ = server_->bind_to_any_port(kAddress)) > 0 : server_->bind_to_port(kAddress, port);
    if (!isBound) throw std::runtime_error("The stand-in cannot listen on port " + std::to_string(port) + ".");
    // The server's threads inherit what is blocked here: signals are for the program's own.
    sigset_t all;
    sigset_t before;
    static_cast<void>(sigfillset(&all));  // none of these fails
    static_cast<void>(pthread_sigmask(SIG_SETMASK, &all, &before));
    const CODefer restore([&before] { static_cast<void>(pthread_sigmask(SIG_SETMASK, &before, nullptr)); });
    listening_ = std::async(std::launch::async, [this] { return server_->listen_after_bind(); });
    // `stop` has no effect before the library's loop has begun.
    while (!server_->is_running()) std::this_thread::sleep_for(1ms);
  }

  // Records the request; the scripted reply that it uses up, if there is one.
  std::optional<Reply> record(const Request& request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    clientPorts_.insert(request.clientPort);
    if (observer_) observer_(request);
    if (script_.empty()) return std::nullopt;
    Reply reply = std::move(script_.front());
    script_.pop_front();
    return reply;
  }

  void handle(const httplib::Request& received, httplib::Response& response) {
    const Request request = readRequest(received);
    auto scripted = record(request);
    if (!scripted) scripted = askAnswerer(request);
    Reply reply = scripted ? *scripted : answerAsModel(request);
    if (!waitFor(reply.delay) || reply.closeUnanswered) {
      shutDownConnections(port_, request.clientPort);
      return;
    }
    writeReply(std::move(reply), response);
  }

  std::optional<Reply> askAnswerer(const Request& request) const {
    std::function<std::optional<Reply>(const Request&)> answerer;
    {
      const std::lock_guard lock(mutex_);
      answerer = answerer_;
    }
    return answerer ? answerer(request) : std::nullopt;
  }

  // False when the server's end came first.
  bool waitFor(std::chrono::milliseconds delay) {
    if (delay <= 0ms) return true;
    std::unique_lock lock(mutex_);
    return !stop_.wait_for(lock, delay, [this] { return stopping_; });
  }

  mutable std::mutex mutex_;
  std::condition_variable stop_;
  bool stopping_ = false;
  std::vector<Request> requests_;
  std::set<int> clientPorts_;
  std::deque<Reply> script_;
  std::function<void(const Request&)> observer_;
  std::function<std::optional<Reply>(const Request&)> answerer_;
  std::unique_ptr<httplib::Server> server_;
  const char* scheme_;
  int port_ = 0;
  std::future<bool> listening_;  // last: its end is awaited while all else still stands
};

Server::Server() : Server(0) {}

Server::Server(const TlsIdentity& identity)
    : implementation_(std::make_unique<Implementation>(createTlsServer(identity), "https", 0)) {}

Server::Server(int port)
    : implementation_(std::make_unique<Implementation>(std::make_unique<httplib::Server>(), "http", port)) {}

Server::~Server() = default;

int Server::port() const { return implementation_->port(); }

std::string Server::url() const { return implementation_->url(); }

void Server::enqueue(Reply reply) { implementation_->enqueue(std::move(reply)); }

void Server::answerBy(std::function<std::optional<Reply>(const Request&)> script) {
  implementation_->answerBy(std::move(script));
}

void Server::observe(std::function<void(const Request&)> observer) { implementation_->observe(std::move(observer)); }

std::vector<Request> Server::requests() const { return implementation_->requests(); }

std::size_t Server::connectionCount() const { return implementation_->connectionCount(); }

}  // namespace standin
