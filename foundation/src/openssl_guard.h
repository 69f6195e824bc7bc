// SPDX-License-Identifier: Apache-2.0
// OpenSSL is the host's as well: what the library's use of it must leave alone, and when it must end.
#pragma once

#include <string>
#include <vector>

namespace qx {

/// Asks OpenSSL not to clean up when the process exits, where calls may still be running; a host that used it earlier
/// has decided that already, and then the clean-up waits for them. To be called before its first use, as often as one
/// likes. Any thread may call it.
void prepareOpenSSL() noexcept;

/// True once OpenSSL has been cleaned up: from then on nothing may use it, not even to free what it made.
bool hasOpenSSLEnded() noexcept;

/// The life of something that may use OpenSSL, on one thread. The clean-up waits until it has gone, for half a second
/// at most; it is to look at `hasOpenSSLEnded` every now and then. Meanwhile the errors that the host has left in the
/// thread's queue are put aside; those that there is no memory for are lost.
class OpenSSLUse {
 public:
  OpenSSLUse() noexcept;
  ~OpenSSLUse();
  OpenSSLUse(const OpenSSLUse&) = delete;
  OpenSSLUse& operator=(const OpenSSLUse&) = delete;

 private:
  struct Error {
    unsigned long code;
    int line;
    std::string file;
    std::string function;
    std::string data;
  };

  struct Count {
    Count() noexcept;
    ~Count();
  };

  Count count_;
  std::vector<Error> hostErrors_;  // oldest first
};

}  // namespace qx
