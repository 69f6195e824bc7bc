// SPDX-License-Identifier: Apache-2.0
// The waiting of a call: one libcurl multi handle, which does not wait for anything by itself.
#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "call_control.h"
#include "curl_handle.h"
#include "platform/platform.h"
#include "process_shared.h"

namespace qx {

/// Drives one transfer after the other, each on the thread that asks for it. It keeps no connection: those belong to
/// the share of each transfer, or end with it.
class TransferLoop {
 public:
  /// Under the process's lock, since libcurl takes one of its own. Throws `std::bad_alloc`.
  explicit TransferLoop(const ProcessLock& lock);
  ~TransferLoop();
  TransferLoop(const TransferLoop&) = delete;
  TransferLoop& operator=(const TransferLoop&) = delete;

  /// False when the process had no descriptor left for what wakes the loop; then it cannot be used.
  bool isOpen() const noexcept { return multi_ != nullptr && waker_.isOpen(); }
  /// What ends a waiting from outside. It lives as long as the loop.
  platform::Waker& obtainWaker() noexcept { return waker_; }
  /// False too when the last transfer could not be ended in good order, for want of memory, and when libcurl still
  /// waits for something, such as the farewell on a connection that it ends.
  bool isReusable() const noexcept { return isOpen() && isSound_ && watches_.empty(); }

  struct End {
    std::optional<CURLcode> result;              // nothing when the call was to stop
    curl_socket_t keptSocket = CURL_SOCKET_BAD;  // of the connection that libcurl keeps for the next call
  };
  /// Throws `std::bad_alloc`.
  End run(CurlEasy& easy, const CallControl& control);
  /// Waits until the waker is woken, for a tenth of a second at most.
  void rest();

 private:
  using Clock = std::chrono::steady_clock;

  static int watch(CURL* easy, curl_socket_t socket, int what, void* self, void* socketData) noexcept;
  static int setTimer(CURLM* multi, long milliseconds, void* self) noexcept;

  std::vector<platform::Watch>::iterator find(curl_socket_t socket) noexcept;
  int countMilliseconds() const noexcept;
  std::optional<CURLcode> drive(const CallControl& control);
  void actOnTimer(int& running);
  bool act(int& running);
  bool isUploadInVain(const platform::Watch& ready);

  platform::Waker waker_;
  std::vector<platform::Watch> watches_;    // as libcurl tells them; it takes each back before it closes the socket
  std::vector<platform::Watch> ready_;      // what has become of them
  std::optional<Clock::time_point> timer_;  // when libcurl wants to be called in any case
  bool isSound_ = true;
  CurlMulti multi_;
};

}  // namespace qx
