// SPDX-License-Identifier: Apache-2.0
// The baseline of calls: bare libcurl.
#pragma once

#include <curl/curl.h>
#include <openssl/types.h>

#include <memory>
#include <string>

/// Makes the same call again and again. One thread at a time may use it. What cannot be set up or called shows in the
/// reply.
class LibcurlCaller {
 public:
  /// Posts the body, or gets where it is null. Not owned; must outlive this object and, for `call`, stay where it is.
  LibcurlCaller(std::string url, const std::string* body);

  /// Trusts the authorities of a PEM file instead of the system's. It is parsed for each connection. To be told before
  /// the first call, as is the store.
  void trust(const std::string& caFile) { caFile_ = caFile; }
  /// Trusts those of a store, which is ready. Not owned; must outlive this object.
  void trust(X509_STORE* store) { store_ = store; }

  /// Calls with a handle that is kept. Gives the body of the reply, empty when the call failed. Borrowed until the next
  /// call.
  const std::string& call();
  /// The same as the library has to call: with another handle for each call, copied from one that all threads share,
  /// and with every option and callback that what it promises takes. One caller makes calls of one of the two kinds.
  const std::string& callGuarded();

 private:
  using Handle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;

  static Handle copyGuardedHandle();
  void setUp(CURL* handle);

  std::string url_;
  const std::string* body_;
  std::string caFile_;
  X509_STORE* store_ = nullptr;
  std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers_;
  std::string reply_;
  Handle handle_;
  curl_socket_t socket_ = CURL_SOCKET_BAD;  // of the connection that the last guarded call has left
  std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parsedURL_;
  std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> connections_;
};
