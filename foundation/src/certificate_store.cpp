#include "certificate_store.h"

#include <curl/curl.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <mutex>
#include <string>

namespace {

bool compareVersions() {
  const curl_version_info_data* const version = curl_version_info(CURLVERSION_NOW);
  if (version->ssl_version == nullptr) return false;
  return version->ssl_version == std::string("OpenSSL/") + OpenSSL_version(OPENSSL_VERSION_STRING);
}

// The places that libcurl was built with. OpenSSL's own function for this would let the environment have a say.
bool loadAuthorities(X509_STORE* store) {
  const curl_version_info_data* const version = curl_version_info(CURLVERSION_NOW);
  const char* file = version->cainfo;
  const char* folder = version->capath;
  if (file == nullptr && folder == nullptr) {
    file = X509_get_default_cert_file();
    folder = X509_get_default_cert_dir();
  }
  if (X509_STORE_load_locations(store, file, folder) == 1) return true;
  return folder != nullptr && X509_STORE_load_locations(store, nullptr, folder) == 1;
}

X509_STORE* createStore() {
  X509_STORE* store = X509_STORE_new();
  // An authority in the middle of a chain may be trusted without the one at its top, as libcurl has it.
  const bool isLoaded =
      store != nullptr && loadAuthorities(store) && X509_STORE_set_flags(store, X509_V_FLAG_PARTIAL_CHAIN) == 1;
  if (!isLoaded) {
    ERR_clear_error();
    X509_STORE_free(store);
    store = nullptr;
  }
  return store;
}

}  // namespace

bool isCurlOnOurOpenSSL() {
  static const bool isOurs = compareVersions();
  return isOurs;
}

X509_STORE* obtainSystemCertificateStore() {
  // Never freed: connections that a host closes at the very end of the process still refer to it.
  // One that could not be read is tried again with the next call.
  static std::mutex mutex;
  static X509_STORE* store = nullptr;
  const std::lock_guard lock(mutex);
  if (store == nullptr) store = createStore();
  return store;
}
