// One HTTP call from its first to its last byte.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "qx/rest_request.h"
#include "qx/rest_settings.h"
#include "qx_http_pool_center.h"
#include "rest_headers.h"

/// What is to be sent, checked and encoded but for the request's URL.
struct RestCall {
  const CMRestRequest& request;  // borrowed for the life of the call
  HeaderLines headerLines = {};
  std::string userAgent = {};                // also among the header lines
  std::optional<std::string> postBody = {};  // a GET without it
};

struct RestResult {
  std::int32_t code;
  std::string body;  // empty unless the reply came whole
};

/// Makes the call on this thread, through `pool` or, when that is null or busy, over a connection of its own. Header
/// lines of the transfer are added to those of the call. Nothing but `std::bad_alloc` is thrown.
RestResult performRestCall(RestCall& call, const CMRestGlobalSettings& settings, QXHTTPPoolCenter* pool);
