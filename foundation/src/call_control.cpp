// SPDX-License-Identifier: Apache-2.0
#include "call_control.h"

#include <algorithm>
#include <limits>

#include "openssl_guard.h"
#include "qx/rest_error.h"

namespace qx {

namespace {

using std::chrono::milliseconds;

constexpr std::int64_t kUsualConnectMilliseconds = 10'000;  // as the settings have it by default
// More than three weeks. Larger limits would overflow when they are added to the clock, and a long of libcurl's where
// that has 32 bits.
constexpr std::int64_t kMostMilliseconds = std::numeric_limits<std::int32_t>::max();

milliseconds limitOf(std::int64_t given, std::int64_t otherwise) noexcept {
  return milliseconds(std::min(given > 0 ? given : otherwise, kMostMilliseconds));
}

}  // namespace

CallControl::CallControl(const CMRestGlobalSettings& settings, bool isSecure, const CancelState* cancel) noexcept
    : isSecure_(isSecure), cancel_(cancel), hasRequestLimit_(settings.requestTimeoutMs > 0) {
  const Clock::time_point now = Clock::now();
  connectEnd_ = now + limitOf(settings.connectTimeoutMs, kUsualConnectMilliseconds);
  requestEnd_ = now + limitOf(settings.requestTimeoutMs, kMostMilliseconds);
}

CallControl::Stop CallControl::obtainStopFromOutside() const noexcept {
  if (cancel_ != nullptr && cancel_->isCancelled()) return Stop::Cancelled;
  return isSecure_ && hasOpenSSLEnded() ? Stop::ProcessEnding : Stop::None;
}

CallControl::Stop CallControl::obtainStop(bool isConnected) const noexcept {
  if (const Stop stop = obtainStopFromOutside(); stop != Stop::None) return stop;
  const Clock::time_point now = Clock::now();
  // Without a connection it is the connection that took too long, whichever limit was the shorter one.
  if (hasRequestLimit_ && now >= requestEnd_) return isConnected ? Stop::RequestTimedOut : Stop::ConnectTimedOut;
  return !isConnected && now >= connectEnd_ ? Stop::ConnectTimedOut : Stop::None;
}

std::int32_t CallControl::obtainCode(Stop stop) noexcept {
  switch (stop) {
    case Stop::ConnectTimedOut:
      return CMRestCode::ConnectTimedOut;
    case Stop::RequestTimedOut:
      return CMRestCode::RequestTimedOut;
    case Stop::ProcessEnding:
      return CMRestCode::ProcessEnding;
    default:
      return CMRestCode::Cancelled;
  }
}

CallControl::Milliseconds CallControl::obtainMillisecondsLeft() const noexcept {
  const Clock::time_point now = Clock::now();
  // Rounded up: libcurl takes 0 for no limit, and would end a moment before the time.
  const auto count = [now](Clock::time_point end) {
    return static_cast<long>(std::max<std::int64_t>(std::chrono::ceil<milliseconds>(end - now).count(), 1));
  };
  return {count(connectEnd_), hasRequestLimit_ ? count(requestEnd_) : 0};
}

}  // namespace qx
