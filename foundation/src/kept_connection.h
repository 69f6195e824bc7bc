// SPDX-License-Identifier: Apache-2.0
// The connection that the calls through a pool keep for each other.
#pragma once

#include <string>

#include "curl_handle.h"

namespace qx {

/// A libcurl share that holds at most one connection while no call is running. Serves one call at a time.
class KeptConnection {
 public:
  KeptConnection() = default;
  ~KeptConnection();
  KeptConnection(const KeptConnection&) = delete;
  KeptConnection& operator=(const KeptConnection&) = delete;

  class Loan;

  /// Closes the connection. REQUIRES: it is not lent.
  void close() noexcept;

 private:
  void open(bool isSecure, const std::string& authorities);

  CurlShare share_;
  unsigned generation_ = 0;  // of the process that has made it
  bool isSecure_ = false;
  std::string authorities_;
  // Only between two calls, when libcurl does nothing and so cannot have closed it.
  curl_socket_t idleSocket_ = CURL_SOCKET_BAD;
};

/// The time for which a transfer may use the connection, or keep the one that it makes. It must have left its loop when
/// this ends.
class KeptConnection::Loan {
 public:
  /// A connection that is or isn't inside TLS other than the transfer's, that trusts other authorities than those of
  /// that file, or on which the server has said or ended something since, is closed first. `connection`: not owned;
  /// null: nothing is lent. Throws `std::bad_alloc`.
  Loan(KeptConnection* connection, CurlEasy& easy, bool isSecure, const std::string& authorities);
  ~Loan();
  Loan(const Loan&) = delete;
  Loan& operator=(const Loan&) = delete;

  /// `socket`: that of the connection which libcurl has kept in the end.
  void noteKept(curl_socket_t socket) noexcept { socket_ = socket; }

 private:
  KeptConnection* connection_;
  CurlEasy& easy_;
  curl_socket_t socket_ = CURL_SOCKET_BAD;
};

}  // namespace qx
