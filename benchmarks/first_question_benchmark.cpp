// SPDX-License-Identifier: Apache-2.0
// The first question of a host, from making the assistant to freeing it, over https: against a new libcurl handle that
// gets a certificate store which was read once, and against one that reads the authorities itself. All three trust the
// same: the system's authorities, about 140, and the peer's.
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <openssl/x509_vfy.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "libcurl_caller.h"
#include "question.h"

namespace {

/// A PEM file with the system's authorities and one more. It goes with this object.
class TrustFile {
 public:
  explicit TrustFile(const std::string& authorityFile) {
    const char* const systemFile = curl_version_info(CURLVERSION_NOW)->cainfo;
    if (systemFile == nullptr) throw std::runtime_error("libcurl knows of no file of the system's authorities");
    ::close(::mkstemp(name_.data()));
    std::ofstream(name_) << std::ifstream(systemFile).rdbuf() << std::ifstream(authorityFile).rdbuf();
  }
  ~TrustFile() { ::unlink(name_.c_str()); }
  TrustFile(const TrustFile&) = delete;
  TrustFile& operator=(const TrustFile&) = delete;

  const std::string& name() const { return name_; }

 private:
  std::string name_ = "/tmp/zea-trust-file-XXXXXX";
};

/// A server that is new to everybody, and what to trust it by.
struct Scene {
  Peer peer{true};
  TrustFile trusted{peer.caFile()};
};

std::string askFirst(const Scene& scene) {
  ForgetfulMemory memory;
  return ask(*createAssistant(scene.peer.url(), &memory));
}

void firstQuestionByAssistant(benchmark::State& state) {
  const Scene scene;
  CMRestGlobalSettings settings;
  settings.caFile = scene.trusted.name();
  settings.userAgent = kUserAgent;
  ZEASetHTTPSettings(settings);
  // What the process keeps of the authorities is not part of each question.
  if (const std::string failure = askFirst(scene); !failure.empty()) state.SkipWithError(failure.c_str());
  for (auto _ : state) {
    if (const std::string failure = askFirst(scene); !failure.empty()) state.SkipWithError(failure.c_str());
  }
}

using Store = std::unique_ptr<X509_STORE, decltype(&X509_STORE_free)>;

Store readStore(const std::string& file) {
  Store store(X509_STORE_new(), X509_STORE_free);
  if (X509_STORE_load_locations(store.get(), file.c_str(), nullptr) != 1) throw std::runtime_error("no authorities");
  X509_STORE_set_flags(store.get(), X509_V_FLAG_PARTIAL_CHAIN);  // as libcurl sets up its own
  return store;
}

/// `trust` tells a new caller whom to trust.
template <class Trust>
void callAnew(benchmark::State& state, const Scene& scene, Trust trust) {
  const std::string body = bodyOf("");
  for (auto _ : state) {
    LibcurlCaller caller(scene.peer.url() + kChatPath, &body);
    trust(caller);
    if (caller.call() != kReply) state.SkipWithError("failed");
  }
}

void firstQuestionByLibcurlSharedStore(benchmark::State& state) {
  const Scene scene;
  const Store store = readStore(scene.trusted.name());
  callAnew(state, scene, [&](LibcurlCaller& caller) { caller.trust(store.get()); });
}

void firstQuestionByLibcurlNaive(benchmark::State& state) {
  const Scene scene;
  callAnew(state, scene, [&](LibcurlCaller& caller) { caller.trust(scene.trusted.name()); });
}

void quickly(benchmark::internal::Benchmark* benchmark) { benchmark->Unit(benchmark::kMicrosecond)->UseRealTime(); }
BENCHMARK(firstQuestionByAssistant)->Name("firstQuestion/assistant")->Apply(quickly);
BENCHMARK(firstQuestionByLibcurlSharedStore)->Name("firstQuestion/libcurlSharedStore")->Apply(quickly);
BENCHMARK(firstQuestionByLibcurlNaive)->Name("firstQuestion/libcurlNaive")->Apply(quickly);

}  // namespace
