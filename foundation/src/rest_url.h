// SPDX-License-Identifier: Apache-2.0
// The URL of a call, checked and encoded before anything is sent.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "curl_handle.h"
#include "qx/rest_request.h"

namespace qx {

/// A host that may have to be looked up, and where it is asked.
struct RestEndpoint {
  std::string host;  // without brackets
  std::string port;
};

/// The URL of one call after the other. It is encoded and read only when it has changed, which it seldom has: that
/// takes a tenth of what a short question takes in all. It may hold a key, which is wiped when it goes. Serves one call
/// at a time.
class RestURL {
 public:
  RestURL() = default;
  ~RestURL();
  RestURL(const RestURL&) = delete;
  RestURL& operator=(const RestURL&) = delete;

  /// Takes the URL with the query parameters after its own. What may not stand in a path or a query is percent-encoded,
  /// what is already encoded stays; the query parameters are encoded whole. A host's name that is not in ASCII becomes
  /// what the name system knows it by. A fragment is dropped, since it is never sent. False when the URL cannot be read
  /// or its scheme is neither http nor https. No transfer may be using the one before. Throws `std::bad_alloc`.
  bool take(const std::string& url, const CMRestParamList& query);
  /// Gives it to the transfer, which must end before it changes. REQUIRES: it was taken.
  void setOn(CurlEasy& easy) const;
  RestEndpoint obtainEndpoint() const;

 private:
  void clear() noexcept;

  std::string url_;
  CMRestParamList query_;
  std::string text_;  // of both, encoded
  CurlURL parsed_;    // the same, as libcurl has read it
};

/// True for a URL of https, readable or not.
bool isSecureURL(std::string_view url) noexcept;

/// A proxy as libcurl is to be told it.
class ProxyURL {
 public:
  /// Nothing when the text is no readable URL of http or https or, without a scheme, of a host. Throws
  /// `std::bad_alloc`.
  static std::optional<ProxyURL> read(const std::string& url);

  /// The URL, its host's name as above.
  const std::string& obtainText() const noexcept { return text_; }
  /// Where the proxy is asked.
  RestEndpoint obtainEndpoint() const;

 private:
  ProxyURL(std::string text, CurlURL parsed) : text_(std::move(text)), parsed_(std::move(parsed)) {}

  std::string text_;
  CurlURL parsed_;  // the same, as libcurl reads it
};

}  // namespace qx
