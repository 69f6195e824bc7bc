// SPDX-License-Identifier: Apache-2.0
// What servers and networks do to questions, as a table. It is put to the transport and to conversations by the fault
// tests, and to a host for another system by scripts/test-windows.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "loopback/raw_server.h"

namespace support {

/// What a server does to a question, and what the caller gets to know.
struct Fault {
  std::string name;
  loopback::RawConnection connection;
  std::int32_t code;
  std::string body = {};
  std::vector<std::int32_t> otherCodes = {};  // where the order of two machines' doings decides

  template <class Predicate>
  bool canEndWith(Predicate isIt) const {
    return isIt(code) || std::any_of(otherCodes.begin(), otherCodes.end(), isIt);
  }
};

/// Replies: in chunks, in a content coding, of a failed status with "words"; the bytes of "whole", packed.
std::string chunked(const std::string& rest);
std::string packed(const std::string& body, const std::string& kind = "gzip");
std::string failed(const std::string& status, const std::string& fields = "");
const std::string& gzipped();

/// All of them. Those that lead elsewhere name the URL of a server that nobody should ask.
std::vector<Fault> makeFaults(const std::string& elsewhere);

}  // namespace support
