// The URL of a call, checked and encoded before anything is sent.
#pragma once

#include <string>

#include "curl_handle.h"
#include "qx/rest_request.h"

/// The URL of one call after the other, which is mostly the same. Serves one thread at a time.
class RestURL {
 public:
  /// The URL with the query parameters behind its own, as libcurl has read it. What may not stand in a path or a query
  /// is percent-encoded, what is already encoded stays; the query parameters' values are trimmed. A fragment is
  /// dropped, since it is never sent. Null when the URL cannot be read or its scheme is neither http nor https. Not
  /// owned; good until the next time.
  CURLU* obtain(const std::string& url, const CMRestParamList& query);

 private:
  std::string url_;
  CMRestParamList query_;
  CurlURL created_;
};

/// True for what may be named as a proxy: a readable URL of http or https, or one without a scheme.
bool isProxyURL(const std::string& url);
