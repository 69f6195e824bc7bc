// SPDX-License-Identifier: Apache-2.0
// What a run leaves behind: a file that two runs are compared by.
#pragma once

#include <cstddef>
#include <fstream>
#include <string>
#include <string_view>

namespace corpus {

/// Writes as it is told. REQUIRES of a host's text: the server's address stands there as `address`; a fixed word goes
/// out instead, since each run has a port of its own.
class Record {
 public:
  Record(const std::string& file, std::string address) : out_(file, std::ios::binary), address_(std::move(address)) {}

  /// Throws `std::runtime_error` unless all has been written.
  void finish();
  void beginCase(std::size_t number) { out_ << "== case " << number << '\n'; }
  void addRequest(const std::string& bytes) { requestBytes_ += add("request", bytes); }
  void addResult(std::string_view label, const std::string& text) { resultBytes_ += add(label, text); }

  std::size_t requestBytes() const { return requestBytes_; }
  std::size_t resultBytes() const { return resultBytes_; }

 private:
  std::size_t add(std::string_view label, std::string text);

  std::ofstream out_;
  std::string address_;
  std::size_t requestBytes_ = 0;
  std::size_t resultBytes_ = 0;
};

}  // namespace corpus
