#include "loopback_server.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include "support/tls_identity.h"

namespace {

/// A connection's socket, closed at the end.
struct Socket {
  explicit Socket(int handle) : number(handle) {}
  ~Socket() { close(number); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  int number;
};

}  // namespace

void allowManyFiles() {
  rlimit files{};
  if (getrlimit(RLIMIT_NOFILE, &files) != 0) throw std::runtime_error("no limit of open files");
  files.rlim_cur = files.rlim_max;
  if (setrlimit(RLIMIT_NOFILE, &files) != 0) throw std::runtime_error("the limit of open files stays");
}

LoopbackServer::LoopbackServer(std::string body, const standin::TlsIdentity* identity)
    : reply_("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
             "\r\n\r\n" + body) {
  std::signal(SIGPIPE, SIG_IGN);
  if (identity != nullptr) context_ = support::makeServerContext(*identity, 0);
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(listener_, 1024) != 0 ||
      getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("no port for the server");
  }
  port_ = ntohs(address.sin_port);
  accepting_ = std::thread([this] { accept(); });
}

LoopbackServer::~LoopbackServer() {
  shutdown(listener_, SHUT_RDWR);
  accepting_.join();
  close(listener_);
}

std::string LoopbackServer::url() const {
  return (context_ ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(port_);
}

void LoopbackServer::accept() {
  for (int client = 0; (client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
    const std::lock_guard lock(mutex_);
    ++serving_;
    // Not kept: what ended threads leave until they are joined would grow with every connection.
    std::thread([this, client] {
      serve(client);
      const std::lock_guard endLock(mutex_);
      if (--serving_ == 0) idle_.notify_all();
    }).detach();
  }
  std::unique_lock lock(mutex_);
  idle_.wait(lock, [this] { return serving_ == 0; });  // clients have gone by then
}

void LoopbackServer::serve(int client) const {
  const Socket socket(client);
  const int on = 1;
  setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  std::string request;
  if (!context_) {
    while (readMessage(request, [&](char* data, std::size_t size) { return recv(client, data, size, 0); })) {
      if (send(client, reply_.data(), reply_.size(), MSG_NOSIGNAL) < 0) return;
    }
    return;
  }
  const std::unique_ptr<SSL, decltype(&SSL_free)> session(SSL_new(context_.get()), SSL_free);
  SSL_set_fd(session.get(), client);
  if (SSL_accept(session.get()) != 1) return;
  while (readMessage(
      request, [&](char* data, std::size_t size) { return SSL_read(session.get(), data, static_cast<int>(size)); })) {
    if (SSL_write(session.get(), reply_.data(), static_cast<int>(reply_.size())) <= 0) return;
  }
}
