// SPDX-License-Identifier: Apache-2.0
#include "host_names.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include "name_lookup.h"
#include "platform/platform.h"
#include "qx/rest_error.h"
#include "rest_headers.h"

namespace qx {

namespace {

/// Of an address by itself, and of a name that means this machine; none of a name that has to be looked up.
std::vector<std::string> obtainKnownAddresses(std::string_view host) {
  // No name server is asked about this machine: its answer could send a key elsewhere.
  constexpr std::string_view kLocal = ".localhost";
  if (platform::isAddress(std::string(host))) return {std::string(host)};
  const std::string_view end = host.substr(host.size() - std::min(host.size(), kLocal.size()));
  if (isSameIgnoringCase(host, kLocal.substr(1)) || isSameIgnoringCase(end, kLocal)) return {"::1", "127.0.0.1"};
  return {};
}

}  // namespace

void HostNames::fill(RestEndpoint host, const RestEndpoint* proxy) {
  isFilled_ = true;
  const bool isHostKnown = !obtainKnownAddresses(host.host).empty();
  names_.push_back({std::move(host), false});
  if (proxy != nullptr) names_.push_back({*proxy, true});
  // The last one is looked up first, see the header.
  if (isHostKnown) std::reverse(names_.begin(), names_.end());
}

std::int32_t HostNames::lookUpNext() {
  while (!names_.empty()) {
    const Name name = std::move(names_.back());
    names_.pop_back();
    const std::int32_t code = lookUp(name.endpoint);
    if (code != CMRestCode::NameNotFound) return code;
    isProxyMissing_ = isProxyMissing_ || name.isProxy;
  }
  return isProxyMissing_ ? CMRestCode::ProxyNameNotFound : CMRestCode::NameNotFound;
}

std::int32_t HostNames::lookUp(const RestEndpoint& endpoint) {
  using Beginning = NameLookup::Beginning;
  if (const std::vector<std::string> known = obtainKnownAddresses(endpoint.host); !known.empty()) {
    add(endpoint, known);
    return CMRestCode::Success;
  }
  NameLookup lookup(loop_.obtainWaker());
  for (Beginning beginning = lookup.begin(endpoint.host); beginning != Beginning::Begun || !lookup.hasEnded();) {
    const CallControl::Stop stop = control_.obtainStop(false);
    const bool isTooLate = beginning == Beginning::TooMany && stop == CallControl::Stop::ConnectTimedOut;
    if (beginning == Beginning::NoThread || isTooLate) return CMRestCode::LookupUnavailable;
    if (stop != CallControl::Stop::None) return CallControl::obtainCode(stop);
    loop_.rest();
    if (beginning == Beginning::TooMany) beginning = lookup.begin(endpoint.host);
  }
  const std::vector<std::string>& addresses = lookup.obtainAddresses();
  if (addresses.empty()) return CMRestCode::NameNotFound;
  add(endpoint, addresses);
  return CMRestCode::Success;
}

/// The plus sign has libcurl forget them after a minute, as those that it looks up itself.
void HostNames::add(const RestEndpoint& endpoint, const std::vector<std::string>& addresses) {
  if (endpoint.host.find(':') != std::string::npos) {
    isPlainAddress_ = true;  // one of IPv6 cannot be named in a line like this
    return;
  }
  constexpr std::size_t kMost = 16;  // more would only take the time of the call
  std::string line = "+" + endpoint.host + ":" + endpoint.port;
  for (std::size_t i = 0; i < std::min(addresses.size(), kMost); ++i)
    line.append(i == 0 ? ":" : ",").append(addresses[i]);
  if (!appendTo(found_, line)) throw std::bad_alloc();
}

}  // namespace qx
