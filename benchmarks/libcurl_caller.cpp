#include "libcurl_caller.h"

#include <openssl/ssl.h>

#include "question.h"

namespace {

curl_slist* listHeaders() {
  curl_slist* headers = nullptr;
  for (const char* header : kHeaders) headers = curl_slist_append(headers, header);
  // Otherwise libcurl would ask the server before it sends a large body.
  return curl_slist_append(headers, "Expect:");
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

LibcurlCaller::LibcurlCaller(const std::string& url, const std::string* body)
    : headers_(listHeaders(), curl_slist_free_all), handle_(curl_easy_init(), curl_easy_cleanup) {
  CURL* const handle = handle_.get();
  curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers_.get());
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, collect);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &reply_);
  if (body != nullptr) setBody(*body);
}

void LibcurlCaller::setBody(const std::string& body) {
  curl_easy_setopt(handle_.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(handle_.get(), CURLOPT_POSTFIELDS, body.c_str());
}

void LibcurlCaller::trust(const std::string& caFile) {
  curl_easy_setopt(handle_.get(), CURLOPT_CAINFO, caFile.c_str());
  // libcurl's own folder of authorities would count beside the file.
  curl_easy_setopt(handle_.get(), CURLOPT_CAPATH, nullptr);
}

void LibcurlCaller::trust(X509_STORE* store) {
  curl_easy_setopt(handle_.get(), CURLOPT_CAINFO, nullptr);
  curl_easy_setopt(handle_.get(), CURLOPT_CAPATH, nullptr);
  curl_easy_setopt(handle_.get(), CURLOPT_SSL_CTX_FUNCTION, shareStore);
  curl_easy_setopt(handle_.get(), CURLOPT_SSL_CTX_DATA, store);
}

const std::string& LibcurlCaller::call() {
  reply_.clear();
  if (curl_easy_perform(handle_.get()) != CURLE_OK) reply_.clear();
  return reply_;
}

const std::string& LibcurlCaller::callThrough(CURLM* multi) {
  reply_.clear();
  curl_multi_add_handle(multi, handle_.get());
  int running = 1;
  while (curl_multi_perform(multi, &running) == CURLM_OK && running > 0) {
    curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
  }
  curl_multi_remove_handle(multi, handle_.get());
  return reply_;
}
