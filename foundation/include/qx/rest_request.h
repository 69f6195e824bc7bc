// SPDX-License-Identifier: Apache-2.0
// One call's request.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qx/export.h"

class ICOJsonValue;

/// Names and values of query parameters or headers, in the order in which they are sent.
using CMRestParamList = std::vector<std::pair<std::string, std::string>>;

/// What GET and POST requests have in common: URL, query parameters and headers, whose bytes are wiped when the request
/// goes, since keys travel in them. Serves one thread at a time.
class QX_API CMRestRequest {
 public:
  virtual ~CMRestRequest();
  CMRestRequest(const CMRestRequest&) = delete;
  CMRestRequest& operator=(const CMRestRequest&) = delete;

  /// A number of the caller's own. Not sent and not read by libqx; it is there to be seen in a debugger.
  std::uint64_t requestTag = 0;

  /// The whole URL, http or https. What may not stand in a URL is percent-encoded when it is sent.
  void setURL(std::string url);
  /// Adds query parameters after those of the URL. Both sides are percent-encoded when they are sent, and
  /// nothing is trimmed. A control character inside a value, other than a tab, makes the call fail before it is sent.
  void addQueryParams(CMRestParamList params);
  /// Adds headers for this call. One that the session has too replaces the session's.
  void addHeaderParams(CMRestParamList params);

  const std::string& obtainURL() const noexcept { return url_; }
  const CMRestParamList& obtainQueryParams() const noexcept { return query_; }
  const CMRestParamList& obtainHeaderParams() const noexcept { return headers_; }

 protected:
  CMRestRequest() = default;

 private:
  std::string url_;
  CMRestParamList query_;
  CMRestParamList headers_;
};

/// A request without a body.
class QX_API CMRestGetRequest : public CMRestRequest {
 public:
  CMRestGetRequest() = default;
  ~CMRestGetRequest() override;
};

/// A request with a JSON body, or with an empty one.
class QX_API CMRestPostRequest : public CMRestRequest {
 public:
  CMRestPostRequest() = default;
  ~CMRestPostRequest() override;

  /// The body, sent with the content type "application/json". Not owned; must live until the call has returned, which
  /// takes its text by `releaseJsonString`.
  /// Null: an empty body without a content type.
  void updateJson(ICOJsonValue* body) noexcept { body_ = body; }
  ICOJsonValue* obtainJson() const noexcept { return body_; }

 private:
  ICOJsonValue* body_ = nullptr;
};
