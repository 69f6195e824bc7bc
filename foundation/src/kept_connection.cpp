// SPDX-License-Identifier: Apache-2.0
#include "kept_connection.h"

#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "openssl_guard.h"
#include "platform/platform.h"
#include "process_shared.h"

namespace qx {

namespace {

/// What must not be closed: what the parent of a fork goes on using, and connections inside TLS once OpenSSL has been
/// cleaned up. It stays in reach of who looks for leaks.
struct LeftBehind {
  std::vector<CurlShare> shares;
};

void leaveBehind(const ProcessLock& lock, CurlShare share) noexcept {
  try {
    auto& shares = obtainShared<LeftBehind>(lock).shares;
    shares.emplace_back();
    shares.back().swap(share);
  } catch (...) {
    static_cast<void>(share.release());
  }
}

}  // namespace

KeptConnection::~KeptConnection() { close(); }

void KeptConnection::close() noexcept {
  idleSocket_ = CURL_SOCKET_BAD;
  if (!share_) return;
  std::optional<OpenSSLUse> use;
  if (isSecure_) use.emplace();
  // One thread at a time: libcurl 8 sets the process's SIGPIPE aside meanwhile, and puts back what it has found there.
  const ProcessLock lock;
  const bool isParents = generation_ != lock.obtainGeneration();
  if (isParents || (isSecure_ && hasOpenSSLEnded())) {
    leaveBehind(lock, std::move(share_));
  } else {
    share_.reset();
  }
}

KeptConnection::Loan::Loan(KeptConnection* connection, CurlEasy& easy, bool isSecure, const std::string& authorities)
    : connection_(connection), easy_(easy) {
  if (connection == nullptr) return;
  const curl_socket_t socket = std::exchange(connection->idleSocket_, CURL_SOCKET_BAD);
  // What a server says unasked is its farewell, or would be read as the answer to the next request.
  const bool hasSpoken = socket != CURL_SOCKET_BAD && platform::peek(socket) != platform::Unread::Nothing;
  // libcurl reuses a connection for the same host whatever it trusted when it was made, since the authorities aren't
  // among its options.
  if (hasSpoken || isSecure != connection->isSecure_ || authorities != connection->authorities_) connection->close();
  if (!connection->share_) connection->open(isSecure, authorities);
  easy.set(CURLOPT_SHARE, connection->share_.get());
}

KeptConnection::Loan::~Loan() {
  if (connection_ == nullptr) return;
  // A share can neither be changed nor freed while a transfer holds on to it.
  easy_.set(CURLOPT_SHARE, nullptr);
  connection_->idleSocket_ = socket_;
}

void KeptConnection::open(bool isSecure, const std::string& authorities) {
  const ProcessLock lock;
  CurlShare share(curl_share_init());
  if (!share || curl_share_setopt(share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_CONNECT) != CURLSHE_OK) {
    throw std::bad_alloc();
  }
  // The one step that may throw comes first.
  authorities_ = authorities;
  isSecure_ = isSecure;
  generation_ = lock.obtainGeneration();
  share_ = std::move(share);
}

}  // namespace qx
