// SPDX-License-Identifier: Apache-2.0
#include "openssl_guard.h"

#include <openssl/crypto.h>
#include <openssl/err.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace qx {

namespace {

// A use counts itself before it looks at `hasEnded`, the clean-up sets that before it looks at the count: one of the
// two sees the other.
constinit std::atomic<bool> isPrepared = false;
constinit std::atomic<bool> hasEnded = false;
constinit std::atomic<int> useCount = 0;

// OpenSSL calls it at the beginning of its clean-up.
void waitForUses() {
  using std::chrono::milliseconds;
  // Running calls look every tenth of a second. One that is stuck must not keep the process from ending.
  constexpr int kMostMilliseconds = 500;
  hasEnded = true;
  for (int waited = 0; useCount > 0 && waited < kMostMilliseconds; ++waited) {
    std::this_thread::sleep_for(milliseconds(1));
  }
}

}  // namespace

void prepareOpenSSL() noexcept {
  if (isPrepared) return;
  // These fail once OpenSSL has been cleaned up, and where there is no memory for them.
  if (OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr) != 1) hasEnded = true;
  if (!isPrepared.exchange(true) && OPENSSL_atexit(waitForUses) != 1) hasEnded = true;
}

bool hasOpenSSLEnded() noexcept { return hasEnded; }

OpenSSLUse::Count::Count() noexcept { ++useCount; }

OpenSSLUse::Count::~Count() { --useCount; }

OpenSSLUse::OpenSSLUse() noexcept {
  prepareOpenSSL();
  if (hasEnded) return;
  const char* file = nullptr;
  const char* function = nullptr;
  const char* data = nullptr;
  int line = 0;
  int flags = 0;
  try {
    while (ERR_peek_error() != 0) {
      const unsigned long code = ERR_get_error_all(&file, &line, &function, &data, &flags);
      hostErrors_.push_back({code, line, file, function, (flags & ERR_TXT_STRING) != 0 ? data : ""});
    }
  } catch (...) {
    ERR_clear_error();
  }
}

OpenSSLUse::~OpenSSLUse() {
  if (hasEnded) return;
  if (ERR_peek_error() != 0) ERR_clear_error();
  // Each goes to the end of the queue, so the oldest comes first as before.
  for (const Error& error : hostErrors_) {
    ERR_new();
    ERR_set_debug(error.file.c_str(), error.line, error.function.c_str());
    ERR_set_error(ERR_GET_LIB(error.code), ERR_GET_REASON(error.code), error.data.empty() ? nullptr : "%s",
                  error.data.c_str());
  }
}

}  // namespace qx
