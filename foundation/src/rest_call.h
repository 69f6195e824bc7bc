// SPDX-License-Identifier: Apache-2.0
// One HTTP call from its first to its last byte.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "pool_center.h"
#include "qx/rest_request.h"
#include "qx/rest_settings.h"

namespace qx {

/// What is to be sent. Borrowed for the life of the call but for the body.
struct RestCall {
  const CMRestRequest& request;
  const CMRestParamList& sessionHeaders;
  bool isSecure;                             // whether TLS is needed, to the host or to the proxy
  std::string_view contentType = {};         // empty: none
  std::optional<std::string> postBody = {};  // a GET without it
};

struct RestResult {
  std::int32_t code;
  std::string body;  // empty unless the reply came whole
};

/// Makes the call on this thread, through `pool` or, when that is null or busy, over a connection of its own. Nothing
/// but `std::bad_alloc` is thrown.
RestResult performRestCall(const RestCall& call, const CMRestGlobalSettings& settings, PoolCenter* pool);

}  // namespace qx
