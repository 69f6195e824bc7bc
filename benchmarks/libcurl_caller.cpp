#include "libcurl_caller.h"

#include <openssl/ssl.h>

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

}  // namespace

LibcurlCaller::LibcurlCaller(std::string url, const std::string* body)
    : url_(std::move(url)),
      body_(body),
      headers_(listHeaders(body), curl_slist_free_all),
      handle_(nullptr, curl_easy_cleanup),
      parsedURL_(nullptr, curl_url_cleanup),
      connections_(nullptr, curl_multi_cleanup) {}

LibcurlCaller::Handle LibcurlCaller::makeHandle() {
  Handle made(curl_easy_init(), curl_easy_cleanup);
  CURL* const handle = made.get();
  curl_easy_setopt(handle, CURLOPT_URL, url_.c_str());
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers_.get());
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, collect);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &reply_);
  if (body_ != nullptr) post(handle, *body_);
  if (caFile_.empty() && store_ == nullptr) return made;
  // libcurl's own folder of authorities would count beside the file.
  curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
  curl_easy_setopt(handle, CURLOPT_CAINFO, store_ == nullptr ? caFile_.c_str() : nullptr);
  if (store_ == nullptr) return made;
  curl_easy_setopt(handle, CURLOPT_SSL_CTX_FUNCTION, shareStore);
  curl_easy_setopt(handle, CURLOPT_SSL_CTX_DATA, store_);
  return made;
}

void LibcurlCaller::setBody(const std::string& body) {
  body_ = &body;
  if (handle_) post(handle_.get(), body);
}

const std::string& LibcurlCaller::call() {
  if (!handle_) handle_ = makeHandle();
  reply_.clear();
  if (curl_easy_perform(handle_.get()) != CURLE_OK) reply_.clear();
  return reply_;
}

const std::string& LibcurlCaller::callAnew() {
  if (!connections_) {
    connections_.reset(curl_multi_init());
    parsedURL_.reset(curl_url());
    curl_url_set(parsedURL_.get(), CURLUPART_URL, url_.c_str(), 0);
  }
  reply_.clear();
  const Handle handle = makeHandle();
  curl_easy_setopt(handle.get(), CURLOPT_CURLU, parsedURL_.get());
  curl_multi_add_handle(connections_.get(), handle.get());
  int running = 1;
  while (curl_multi_perform(connections_.get(), &running) == CURLM_OK && running > 0) {
    curl_multi_poll(connections_.get(), nullptr, 0, 1000, nullptr);
  }
  curl_multi_remove_handle(connections_.get(), handle.get());
  return reply_;
}
