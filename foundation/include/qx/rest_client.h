// SPDX-License-Identifier: Apache-2.0
// Calls over HTTP.
#pragma once

#include <cstdint>

#include "qx/export.h"
#include "qx/rest_request.h"
#include "qx/rest_response.h"
#include "qx/rest_session.h"
#include "qx/rest_settings.h"

class ICSAppFactory;

/// Makes calls: one after the other, on the caller's thread, which is blocked until the call has ended. Redirects are
/// not followed, a POST is sent once and never again, certificates are always verified. No environment variable and no
/// configuration file decides on proxy, credentials or trust; what OpenSSL and the C library's resolver read for
/// themselves is theirs. Names are looked up on threads of libqx, eight at most.
class QX_API ICSRestClient {
 public:
  virtual ~ICSRestClient();

  /// Send the session's headers, the request's headers and query parameters through the session's pool. They return
  /// `CMRestCode::Success`, another `CMRestCode`, or the HTTP status of a reply whose status is not 2xx.
  /// When they return, `*response` is a reply: the caller owns it and deletes it. When the transfer itself failed it is
  /// empty; a whole reply with a failed status keeps its body. When they throw, `*response` is null. What they throw is
  /// `std::bad_alloc` and, for a POST, whatever the body's `releaseJsonString` throws. Neither pointer may be null.
  [[nodiscard]] virtual std::int32_t restGet(CMRestGetRequest* request, CMRestResourceResponse** response) = 0;
  [[nodiscard]] virtual std::int32_t restPost(CMRestPostRequest* request, CMRestResourceResponse** response) = 0;
};

/// What `ICSAppFactory::obtainRestClientFactory` returns. Lives as long as the process; any thread may use it.
class QX_API ICSRestClientFactory {
 public:
  virtual ~ICSRestClientFactory();
  /// A new client. The caller owns it and deletes it. Settings and session are not owned, must outlive the client and
  /// are read when a call begins. Null settings: the defaults. Null session: no headers and no pool.
  [[nodiscard]] virtual ICSRestClient* createRestClient(ICSAppFactory* factory, const CMRestGlobalSettings* settings,
                                                        CMRestSession* session) = 0;
};
