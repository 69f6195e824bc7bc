// SPDX-License-Identifier: Apache-2.0
#include "certificate_store.h"

#include <curl/curl.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

#include "platform/platform.h"
#include "process_shared.h"

namespace qx {

namespace {

/// Whether libcurl's name for what it uses is that of the OpenSSL here; null when it uses nothing.
bool isOurOpenSSL(const char* name) {
  constexpr std::string_view kBegin = "OpenSSL/";
  const std::string_view text = name != nullptr ? name : "";
  return text.substr(0, kBegin.size()) == kBegin &&
         text.substr(kBegin.size()) == OpenSSL_version(OPENSSL_VERSION_STRING);
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
  ERR_clear_error();  // libcurl would take them for those of the handshake
  return store;
}

/// The store that was made last, and what its file was like by then. One that could not be made is tried again with the
/// next call.
struct KeptStore {
  std::string file;
  platform::FileState state{};
  Store store;
};

/// The system's are kept beside those of a file, so that neither drives the other out.
struct KeptStores {
  KeptStore ofSystem;
  KeptStore ofFile;

  KeptStore& obtain(const std::string& file) noexcept { return file.empty() ? ofSystem : ofFile; }
};

/// The caller's own hold on the store; null when there is none of that file as it is now.
Store obtainKept(const std::string& file, const platform::FileState& state) {
  const ProcessLock lock;
  const KeptStore& kept = obtainShared<KeptStores>(lock).obtain(file);
  const bool isGood = kept.store && kept.file == file && kept.state == state;
  return isGood && X509_STORE_up_ref(kept.store.get()) == 1 ? Store(kept.store.get()) : nullptr;
}

void keep(const std::string& file, const platform::FileState& state, X509_STORE* store) {
  std::string name = file;
  if (X509_STORE_up_ref(store) != 1) return;
  Store held(store);
  const ProcessLock lock;
  KeptStore& kept = obtainShared<KeptStores>(lock).obtain(file);
  kept.file.swap(name);
  kept.state = state;
  kept.store.swap(held);
}

}  // namespace

bool isCurlOnOurOpenSSL() noexcept {
  // libcurl writes the text anew each time that it is asked.
  enum : int { Unknown, Ours, Another };
  static constinit std::atomic<int> known = Unknown;
  if (known == Unknown) known = isOurOpenSSL(curl_version_info(CURLVERSION_NOW)->ssl_version) ? Ours : Another;
  return known == Ours;
}

bool trustAuthorities(SSL_CTX* context, const std::string& file) {
  if (file.empty() && !platform::kHasAuthorityFiles) return true;  // libcurl has given the context those of the system
  // The system's authorities count as unchanging.
  const platform::FileState state = file.empty() ? platform::FileState{} : platform::obtainFileState(file);
  if (!file.empty() && state == platform::FileState{}) return false;
  Store store = obtainKept(file, state);
  if (!store) {
    // Without the lock, since reading may take its time where a file is far away.
    store = createStore(file);
    if (!store) return false;
    keep(file, state, store.get());
  }
  SSL_CTX_set_cert_store(context, store.release());
  return true;
}

}  // namespace qx
