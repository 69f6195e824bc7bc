// SPDX-License-Identifier: Apache-2.0
#include "libcurl_caller.h"

#include <openssl/ssl.h>
#include <sys/socket.h>

#include <mutex>
#include <utility>

#include "question.h"

namespace {

constexpr std::size_t kBodyThatIsAskedAbout = 1'000'000;

curl_slist* listHeaders(const std::string* body) {
  curl_slist* headers = nullptr;
  for (const char* header : kHeaders) headers = curl_slist_append(headers, header);
  if (body == nullptr) return headers;
  headers = curl_slist_append(headers, kContentType);
  // libcurl would ask the server before it sends a large body.
  return body->size() < kBodyThatIsAskedAbout ? headers : curl_slist_append(headers, "Expect:");
}

void post(CURL* handle, const std::string& body) {
  curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.c_str());
}

std::size_t collect(char* data, std::size_t size, std::size_t count, void* reply) {
  static_cast<std::string*>(reply)->append(data, size * count);
  return size * count;
}

CURLcode shareStore(CURL*, void* context, void* store) {
  SSL_CTX_set1_cert_store(static_cast<SSL_CTX*>(context), static_cast<X509_STORE*>(store));
  return CURLE_OK;
}

std::size_t passOver(char*, std::size_t size, std::size_t count, void*) { return size * count; }

int allowStart(void*, char*, char*, int, int) { return CURL_PREREQFUNC_OK; }

curl_socket_t openSocket(void*, curlsocktype, curl_sockaddr* address) {
  return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

void guard(CURL* handle) {
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
  curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
  curl_easy_setopt(handle, CURLOPT_HTTP09_ALLOWED, 0L);
  curl_easy_setopt(handle, CURLOPT_NETRC, long{CURL_NETRC_IGNORED});
  curl_easy_setopt(handle, CURLOPT_TCP_KEEPALIVE, 1L);
  curl_easy_setopt(handle, CURLOPT_MAXAGE_CONN, 30L);
  curl_easy_setopt(handle, CURLOPT_SSL_SESSIONID_CACHE, 0L);
  curl_easy_setopt(handle, CURLOPT_CA_CACHE_TIMEOUT, 0L);
  curl_easy_setopt(handle, CURLOPT_NOPROXY, "*");
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, 10'000L);
  curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, 600'000L);
  curl_easy_setopt(handle, CURLOPT_SSLVERSION, long{CURL_SSLVERSION_TLSv1_2});
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
  // Otherwise libcurl would copy the names of its own authorities, which are not asked.
  curl_easy_setopt(handle, CURLOPT_PROXY_CAINFO, nullptr);
  curl_easy_setopt(handle, CURLOPT_PROXY_CAPATH, nullptr);
  curl_easy_setopt(handle, CURLOPT_CAINFO, nullptr);
  curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
  curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, passOver);
  curl_easy_setopt(handle, CURLOPT_PREREQFUNCTION, allowStart);
  curl_easy_setopt(handle, CURLOPT_OPENSOCKETFUNCTION, openSocket);
}

}  // namespace

LibcurlCaller::LibcurlCaller(std::string url, const std::string* body)
    : url_(std::move(url)),
      body_(body),
      headers_(listHeaders(body), curl_slist_free_all),
      handle_(nullptr, curl_easy_cleanup),
      parsedURL_(nullptr, curl_url_cleanup),
      connections_(nullptr, curl_multi_cleanup) {}

void LibcurlCaller::setUp(CURL* handle) {
  curl_easy_setopt(handle, CURLOPT_URL, url_.c_str());
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers_.get());
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, collect);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &reply_);
  if (body_ != nullptr) post(handle, *body_);
  if (caFile_.empty() && store_ == nullptr) return;
  // libcurl's own folder of authorities would count beside the file.
  curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
  curl_easy_setopt(handle, CURLOPT_CAINFO, store_ == nullptr ? caFile_.c_str() : nullptr);
  if (store_ == nullptr) return;
  curl_easy_setopt(handle, CURLOPT_SSL_CTX_FUNCTION, shareStore);
  curl_easy_setopt(handle, CURLOPT_SSL_CTX_DATA, store_);
}

const std::string& LibcurlCaller::call() {
  if (!handle_) {
    handle_.reset(curl_easy_init());
    setUp(handle_.get());
  }
  reply_.clear();
  if (curl_easy_perform(handle_.get()) != CURLE_OK) reply_.clear();
  return reply_;
}

LibcurlCaller::Handle LibcurlCaller::copyGuardedHandle() {
  static std::mutex mutex;
  static CURL* pattern = nullptr;
  const std::lock_guard lock(mutex);
  if (pattern == nullptr) {
    pattern = curl_easy_init();
    guard(pattern);
  }
  return {curl_easy_duphandle(pattern), curl_easy_cleanup};
}

const std::string& LibcurlCaller::callGuarded() {
  if (!connections_) {
    connections_.reset(curl_multi_init());
    parsedURL_.reset(curl_url());
    curl_url_set(parsedURL_.get(), CURLUPART_URL, url_.c_str(), 0);
  }
  reply_.clear();
  const Handle handle = copyGuardedHandle();
  setUp(handle.get());
  curl_easy_setopt(handle.get(), CURLOPT_CURLU, parsedURL_.get());
  // Has the server spoken while nothing was asked?
  char unasked = 0;
  if (socket_ != CURL_SOCKET_BAD && recv(socket_, &unasked, 1, MSG_PEEK | MSG_DONTWAIT) >= 0) {
    connections_.reset(curl_multi_init());
  }
  curl_multi_add_handle(connections_.get(), handle.get());
  int running = 1;
  while (curl_multi_perform(connections_.get(), &running) == CURLM_OK && running > 0) {
    curl_multi_poll(connections_.get(), nullptr, 0, 1000, nullptr);
  }
  if (curl_easy_getinfo(handle.get(), CURLINFO_ACTIVESOCKET, &socket_) != CURLE_OK) socket_ = CURL_SOCKET_BAD;
  curl_multi_remove_handle(connections_.get(), handle.get());
  return reply_;
}
