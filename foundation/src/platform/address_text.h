// SPDX-License-Identifier: Apache-2.0
// Addresses as texts, by functions that systems have in common but for their headers: whoever includes this has
// included those of its sockets first.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace qx::platform {

/// As `lookUp`.
inline std::vector<std::string> listAddresses(const std::string& name) {
  addrinfo hints{};
  // Otherwise each address would come three times, once for each kind of socket.
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  std::vector<std::string> found;
  if (::getaddrinfo(name.c_str(), nullptr, &hints, &list) != 0) return found;
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owned(list, ::freeaddrinfo);
  for (const addrinfo* one = list; one != nullptr; one = one->ai_next) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void* address = nullptr;
    if (one->ai_family == AF_INET) address = &reinterpret_cast<const sockaddr_in*>(one->ai_addr)->sin_addr;
    if (one->ai_family == AF_INET6) {
      const auto* const six = reinterpret_cast<const sockaddr_in6*>(one->ai_addr);
      // One that is good on a single interface cannot be written without naming it, which libcurl does not read.
      if (six->sin6_scope_id == 0) address = &six->sin6_addr;
    }
    if (address != nullptr && ::inet_ntop(one->ai_family, address, text.data(), text.size()) != nullptr) {
      found.emplace_back(text.data());
    }
  }
  return found;
}

/// As `isAddress`.
inline bool isAddressText(const std::string& text) noexcept {
  in6_addr address{};
  return ::inet_pton(AF_INET, text.c_str(), &address) == 1 || ::inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

}  // namespace qx::platform
