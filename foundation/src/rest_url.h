// The URL of a call, checked and encoded before anything is sent.
#pragma once

#include <string>

#include "curl_handle.h"
#include "qx/rest_request.h"

/// The URL of one call after the other, which is mostly the same. Serves one thread at a time.
class RestURL {
 public:
  /// Gives the transfer the URL with the query parameters behind its own. What may not stand in a path or a query is
  /// percent-encoded, what is already encoded stays; the query parameters' values go out as they are. A fragment is
  /// dropped, since it is never sent. False when the URL cannot be read or its scheme is neither http nor https. The
  /// transfer must end before the next time.
  bool setOn(CurlEasy& easy, const std::string& url, const CMRestParamList& query);

 private:
  std::string url_;
  CMRestParamList query_;
  std::string encoded_;  // with the query
  CurlURL parsed_;       // the same, as libcurl has read it
};

/// True for what may be named as a proxy: a readable URL of http or https, or one without a scheme.
bool isProxyURL(const std::string& url);
