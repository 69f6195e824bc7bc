// SPDX-License-Identifier: Apache-2.0
// What became of a transfer, and the code for it.
#pragma once

#include <curl/curl.h>

#include <cstdint>

#include "reply_receiver.h"

namespace qx {

/// From here on a code is the status of a reply that came whole.
inline constexpr std::int32_t kFirstHTTPStatus = 100;

/// A transfer as libcurl tells of it when it has ended.
struct RestOutcome {
  CURLcode result = CURLE_OK;
  long status = 0;                   // of the reply; 0 before there is one
  bool hasProxy = false;             // a proxy may have stood between
  long tunnelStatus = 0;             // of the proxy's answer when a tunnel was asked for; 0: none
  bool isConnected = false;          // the request could begin
  bool isRestartRefused = false;     // libcurl wanted to send a body a second time
  bool isCertificateWanted = false;  // the server has asked for one of the client's
  bool isChainTrusted = true;        // false when the certificate's chain was refused, whatever its name
  bool hasReplyBegun = false;        // something of the reply was received
  bool hasWholeHead = false;         // the reply's header block came with its final line
  bool isCutOff = false;      // only the connection's end ended the body, and inside TLS the server hasn't told it
  bool isCodingWhole = true;  // the body has no content coding, or came up to the end of it
  ReplyFault fault = ReplyFault::None;
};

/// The code of a call that ended like this: the one place where libcurl's codes and HTTP statuses become ours.
std::int32_t obtainRestCode(const RestOutcome& outcome) noexcept;

}  // namespace qx
