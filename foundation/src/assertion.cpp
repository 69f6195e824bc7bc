// SPDX-License-Identifier: Apache-2.0
#include "qx/internal/assertion.h"

#include <atomic>
#include <cstdio>

namespace {

void reportByDefault([[maybe_unused]] const char* condition, [[maybe_unused]] const char* sourcePath,
                     [[maybe_unused]] int line) {
#ifndef NDEBUG
  static_cast<void>(std::fprintf(stderr, "%s:%d: check failed: %s\n", sourcePath, line, condition));
#endif
}

// The one object of libqx that lives as long as the process without belonging to a service: checks fail on any thread.
constinit std::atomic<QXAssertionHandler> gHandler{reportByDefault};

}  // namespace

QXAssertionHandler qxSetAssertionHandler(QXAssertionHandler handler) noexcept {
  const QXAssertionHandler before = gHandler.exchange(handler != nullptr ? handler : reportByDefault);
  return before == reportByDefault ? nullptr : before;
}

bool qx::reportFailedAssertion(const char* condition, const char* sourcePath, int line) noexcept {
  gHandler.load()(condition, sourcePath, line);
  return false;
}
