// What became of a transfer, and the code for it.
#pragma once

#include <curl/curl.h>

#include <cstdint>

#include "reply_receiver.h"

/// Within these a code is the status of a reply that came whole.
inline constexpr std::int32_t kFirstHTTPStatus = 100;
inline constexpr std::int32_t kLastHTTPStatus = 999;

/// A transfer as libcurl tells of it when it has ended.
struct RestOutcome {
  CURLcode result = CURLE_OK;
  long status = 0;             // of the reply; 0 before there is one
  bool hasProxy = false;       // a proxy may have stood between
  bool isConnected = false;    // the request could begin
  bool isChainTrusted = true;  // false when the certificate's chain was refused, whatever its name
  bool hasReplyBegun = false;  // something of the reply was received
  bool hasWholeHead = false;   // the reply's header block came with its final line
  bool isWholePacking = true;  // the body isn't packed, or came up to the end of its packing
  ReplyFault fault = ReplyFault::None;
};

/// The code of a call that ended like this: the one place where libcurl's codes and HTTP statuses become ours.
std::int32_t obtainRestCode(const RestOutcome& outcome) noexcept;
