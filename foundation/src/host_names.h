// SPDX-License-Identifier: Apache-2.0
// The names that a call needs the addresses of.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "call_control.h"
#include "curl_handle.h"
#include "rest_url.h"
#include "transfer_loop.h"

namespace qx {

/// Looks names up for one call, in libcurl's place: its own lookups cannot be interrupted, and nothing limits how many
/// of them are given up and go on.
class HostNames {
 public:
  /// Not owned; must outlive this object.
  HostNames(TransferLoop& loop, const CallControl& control) : loop_(loop), control_(control) {}
  HostNames(const HostNames&) = delete;
  HostNames& operator=(const HostNames&) = delete;

  /// Whether it has been told the names already.
  bool isFilled() const noexcept { return isFilled_; }
  /// Those of the URL and, where there is one, of the proxy. libcurl wants an address and doesn't say, in all releases,
  /// of which: of the host, or of the proxy unless that is bypassed. What needs no lookup comes first, as a proxy that
  /// is not in reach must not keep anybody from this machine; then the proxy's, since most hosts beyond one are for the
  /// proxy to find.
  void fill(RestEndpoint host, const RestEndpoint* proxy);

  /// Looks the next name up. Returns `CMRestCode::Success`, and the transfer is to be tried again, or the code of the
  /// failure. Throws `std::bad_alloc`.
  std::int32_t lookUpNext();

  /// Whether libcurl may have its way, since all that it wants is an address that it only has to read.
  bool isPlainAddress() const noexcept { return isPlainAddress_; }
  /// What has been found, for `CURLOPT_RESOLVE`; null: nothing yet.
  curl_slist* obtainFound() const noexcept { return found_.get(); }

 private:
  struct Name {
    RestEndpoint endpoint;
    bool isProxy;
  };

  std::int32_t lookUp(const RestEndpoint& endpoint);
  void add(const RestEndpoint& endpoint, const std::vector<std::string>& addresses);

  TransferLoop& loop_;
  const CallControl& control_;
  std::vector<Name> names_;  // those that are left, the last one first
  CurlList found_;
  bool isFilled_ = false;
  bool isProxyMissing_ = false;
  bool isPlainAddress_ = false;
};

}  // namespace qx
