#include "certificate_store.h"

#include <curl/curl.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <sys/stat.h>

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>

namespace {

bool compareVersions() {
  const curl_version_info_data* const version = curl_version_info(CURLVERSION_NOW);
  if (version->ssl_version == nullptr) return false;
  return version->ssl_version == std::string("OpenSSL/") + OpenSSL_version(OPENSSL_VERSION_STRING);
}

/// Gives its hold on a store back.
struct ReleaseStore {
  void operator()(X509_STORE* store) const noexcept { X509_STORE_free(store); }
};
using Store = std::unique_ptr<X509_STORE, ReleaseStore>;

// The places that libcurl was built with. OpenSSL's own function for this would let the environment have a say.
bool loadSystemAuthorities(X509_STORE* store) {
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

/// Null when there is nothing to be read.
Store createStore(const std::string& file) {
  Store store(X509_STORE_new());
  const bool isLoaded = store && (file.empty() ? loadSystemAuthorities(store.get())
                                               : X509_STORE_load_locations(store.get(), file.c_str(), nullptr) == 1);
  // An authority in the middle of a chain may be trusted without the one at its top, as libcurl has it.
  if (!isLoaded || X509_STORE_set_flags(store.get(), X509_V_FLAG_PARTIAL_CHAIN) != 1) store.reset();
  ERR_clear_error();
  return store;
}

/// What tells one state of a file from another; the system's authorities count as unchanging.
using FileState = std::array<std::int64_t, 5>;

FileState obtainState(const std::string& file) {
  struct stat state {};
  if (file.empty() || ::stat(file.c_str(), &state) != 0) return {};
  return {static_cast<std::int64_t>(state.st_dev), static_cast<std::int64_t>(state.st_ino), state.st_size,
          state.st_mtim.tv_sec, state.st_mtim.tv_nsec};
}

/// The store that was made last, for as long as its file stays as it was. One that could not be made is tried again
/// with the next call.
class KeptStore {
 public:
  /// Null, or the caller's own hold on the store.
  Store obtain(const std::string& file) {
    const std::lock_guard lock(mutex_);
    const FileState state = obtainState(file);
    if (!store_ || file != file_ || state != state_) {
      store_.reset();  // none is taken for another's should memory run out
      file_ = file;
      state_ = state;
      store_ = createStore(file);
    }
    if (!store_ || X509_STORE_up_ref(store_.get()) != 1) return nullptr;
    return Store(store_.get());
  }

 private:
  std::mutex mutex_;
  std::string file_;
  FileState state_{};
  Store store_;
};

}  // namespace

bool isCurlOnOurOpenSSL() {
  static const bool isOurs = compareVersions();
  return isOurs;
}

bool trustAuthorities(SSL_CTX* context, const std::string& file) {
  // Never freed: hosts close connections at the very end of the process. The system's are kept beside those of a file,
  // so that neither drives the other out.
  static KeptStore* const ofSystem = std::make_unique<KeptStore>().release();
  static KeptStore* const ofFile = std::make_unique<KeptStore>().release();
  Store store = (file.empty() ? ofSystem : ofFile)->obtain(file);
  if (!store) return false;
  SSL_CTX_set_cert_store(context, store.release());
  return true;
}
