// SPDX-License-Identifier: Apache-2.0
// What libcurl asks and tells in the course of a call.
#pragma once

#include <cstddef>

#include "call_control.h"
#include "curl_handle.h"
#include "host_names.h"
#include "reply_receiver.h"
#include "tls_context.h"

namespace qx {

/// libcurl's callbacks and what they note. A call may take several attempts until something of it is sent. No exception
/// leaves a callback, since libcurl could not pass it on.
class TransferCallbacks {
 public:
  /// What an attempt has come to, as far as libcurl's result doesn't tell.
  struct Attempt {
    bool hasOpenedSocket = false;
    bool isConnectionSpoilt = false;  // the kept one holds what the server has said unasked
    bool isNameWanted = false;
    CallControl::Stop stop = CallControl::Stop::None;  // why a callback has ended it
    TLSReport tls;
  };

  /// Not owned; must outlive this object. `hasBody`: whether a second start could make the server act twice.
  TransferCallbacks(const CallControl& control, const HostNames& names, ReplyReceiver& reply, bool hasBody) noexcept
      : control_(control), names_(names), reply_(reply), hasBody_(hasBody) {}
  TransferCallbacks(const TransferCallbacks&) = delete;
  TransferCallbacks& operator=(const TransferCallbacks&) = delete;

  /// The part that is the same for all transfers, for their prototype.
  static void setFunctions(CurlEasy& easy);
  /// Has the transfer's callbacks work on this object, which must not end while libcurl drives it.
  void attachTo(CurlEasy& easy, bool hasProxy);

  /// Forgets the attempt before. The report is for OpenSSL to fill while the attempt lasts.
  TLSReport& beginAttempt() noexcept;
  const Attempt& obtainAttempt() const noexcept { return attempt_; }
  /// Why a callback has ended the attempt.
  CallControl::Stop obtainStop() const noexcept;

  /// Of the call as a whole: whether the request could begin, whether libcurl wanted to send the body a second time,
  /// and whether a connection failed for want of a descriptor.
  bool isConnected() const noexcept { return isConnected_; }
  bool isRestartRefused() const noexcept { return isRestartRefused_; }
  bool isOutOfDescriptors() const noexcept { return isOutOfDescriptors_; }

 private:
  static std::size_t writeHeader(char* data, std::size_t size, std::size_t count, void* self);
  static std::size_t writeBody(char* data, std::size_t size, std::size_t count, void* self);
  static curl_socket_t openSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
  static int beginLookup(void* state, void* reserved, void* self);
  static int beginRequest(void* self, char* remote, char* local, int remotePort, int localPort);
  static int watchTunnel(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t);

  bool refusesRestart() noexcept;

  const CallControl& control_;
  const HostNames& names_;
  ReplyReceiver& reply_;
  const bool hasBody_;
  CURL* easy_ = nullptr;  // the transfer's, not owned
  bool hasProxy_ = false;
  bool isConnected_ = false;
  bool isRestartRefused_ = false;
  bool isOutOfDescriptors_ = false;
  Attempt attempt_;
};

}  // namespace qx
