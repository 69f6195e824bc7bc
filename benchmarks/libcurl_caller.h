// The yardstick of calls: bare libcurl with a handle that is kept and a body that is fixed.
#pragma once

#include <curl/curl.h>
#include <openssl/types.h>

#include <memory>
#include <string>

/// Makes the same call again and again. One thread at a time may use it. What cannot be set up or called shows in the
/// reply.
class LibcurlCaller {
 public:
  /// Posts the body, or gets where it is null. Not owned; must outlive this object.
  LibcurlCaller(const std::string& url, const std::string* body);

  /// From now on another body is posted. Not owned; must outlive the calls.
  void setBody(const std::string& body);
  /// Trusts the authorities of a PEM file instead of the system's. It is parsed for each connection.
  void trust(const std::string& caFile);
  /// Trusts those of a store, which is ready. Not owned; must outlive this object.
  void trust(X509_STORE* store);

  /// The body of the reply, empty when the call failed. Borrowed until the next call.
  const std::string& call();
  /// The same over the connections of a multi handle, so that the next caller finds them. Not owned.
  const std::string& callThrough(CURLM* multi);

 private:
  std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers_;
  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle_;
  std::string reply_;
};
