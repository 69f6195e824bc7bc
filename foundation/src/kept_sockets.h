// The connections that a libcurl multi handle keeps, their sockets, and what the calls over them have in common.
#pragma once

#include <string>
#include <vector>

#include "curl_handle.h"
#include "rest_headers.h"
#include "rest_url.h"

/// Opens and closes them in libcurl's place. Must outlive the multi handle. Serves one thread at a time.
class KeptSockets {
 public:
  KeptSockets() = default;
  KeptSockets(const KeptSockets&) = delete;
  KeptSockets& operator=(const KeptSockets&) = delete;

  /// The connections that the transfer makes are to use these sockets.
  void serve(CurlEasy& easy);
  /// Cuts off the connections that a server has spoken on while nothing was asked. What waits there is its farewell,
  /// which libcurl overlooks inside TLS, or bytes that would be taken for the reply to the next request. To be called
  /// between two calls; libcurl then finds these connections dead.
  void cutOffSpoilt() noexcept;

 private:
  static curl_socket_t open(void* self, curlsocktype purpose, curl_sockaddr* address) noexcept;
  static int close(void* self, curl_socket_t socket) noexcept;

  std::vector<curl_socket_t> sockets_;
};

/// A multi handle, its sockets, and the URL and the headers of one call after the other. The members are in the order
/// of their ends.
struct KeptConnections {
  KeptSockets sockets;
  CurlMulti multi;
  std::string authorities;  // the file of those that the connections trust
  RestURL url;
  RestHeaders headers;

  /// Makes the multi handle unless it is there. Connections that trust other authorities are given up. Throws
  /// `std::bad_alloc`.
  void open(const std::string& trustedAuthorities);
};
