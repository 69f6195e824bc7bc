// SPDX-License-Identifier: Apache-2.0
// What ends a call before its reply has come.
#pragma once

#include <chrono>
#include <cstdint>

#include "cancel_state.h"
#include "qx/rest_settings.h"

namespace qx {

/// The limits of one call, from its beginning on.
class CallControl {
 public:
  enum class Stop { None, Cancelled, ConnectTimedOut, RequestTimedOut, ProcessEnding };

  /// `isSecure`: whether the call needs OpenSSL. `cancel`: not owned, may be null, must outlive this object.
  CallControl(const CMRestGlobalSettings& settings, bool isSecure, const CancelState* cancel) noexcept;

  /// Why the call is to end now. The time to connect counts as long as there is no connection.
  Stop obtainStop(bool isConnected) const noexcept;
  /// The same but for the time, which libcurl watches as well while it has a transfer.
  Stop obtainStopFromOutside() const noexcept;
  /// The code (`CMRestCode`) of a call that ended like this. REQUIRES: it ended.
  static std::int32_t obtainCode(Stop stop) noexcept;

  struct Milliseconds {
    long toConnect;
    long inAll;  // 0: without limit
  };
  /// What is left of each time, in the form that libcurl wants: at least 1 where there is a limit.
  Milliseconds obtainMillisecondsLeft() const noexcept;

 private:
  using Clock = std::chrono::steady_clock;

  bool isSecure_;
  const CancelState* cancel_;
  Clock::time_point connectEnd_;
  Clock::time_point requestEnd_;
  bool hasRequestLimit_;
};

}  // namespace qx
