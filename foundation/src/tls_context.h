// SPDX-License-Identifier: Apache-2.0
// What connections inside TLS are held to, beyond what libcurl's options say.
#pragma once

#include <curl/curl.h>

#include "call_control.h"

namespace qx {

/// What OpenSSL tells of a connection while a call makes or uses it.
struct TLSReport {
  const CallControl* control = nullptr;  // not owned; what ends a handshake that goes on and on
  bool isConnected = false;              // the request could begin
  const void* connection = nullptr;      // the one that the request goes through, where there is one around it
  CallControl::Stop stop = CallControl::Stop::None;  // why a handshake was ended
  bool isCertificateWanted = false;                  // the server has asked for one of the client's
  bool isEndTold = false;                            // the server has said that nothing more comes
};

/// OpenSSL reports to this for as long as it lives, on this thread: a connection outlives the call that made it, so it
/// cannot know where to report. One after the other.
class TLSReporting {
 public:
  explicit TLSReporting(TLSReport& report) noexcept;
  ~TLSReporting();
  TLSReporting(const TLSReporting&) = delete;
  TLSReporting& operator=(const TLSReporting&) = delete;
};

/// libcurl's callback for a new context. `authorities`: a `const std::string*`, the file of those to trust, the
/// system's when it is empty.
CURLcode setUpTLSContext(CURL* easy, void* sslContext, void* authorities) noexcept;

/// OpenSSL's object of a running transfer's connection, the innermost one; null outside TLS.
const void* obtainTLSConnection(CURL* easy) noexcept;

/// Whether the connection of a running transfer holds bytes of the server's, already decrypted, that nobody has read.
bool hasUnreadTLSBytes(CURL* easy) noexcept;

}  // namespace qx
