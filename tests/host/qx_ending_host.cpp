// SPDX-License-Identifier: Apache-2.0
// A host that asks over TLS when it ends: its arguments are the occasion, the server's URL and the authority's file.
#include <openssl/ssl.h>

#include <atomic>
#include <string>
#include <string_view>
#include <thread>

#include "support/rest_caller.h"

namespace {

struct LateAsker {
  std::string url;
  std::string caFile;
  support::Caller* first = nullptr;

  void ask(support::Caller& caller) const {
    caller.settings.caFile = caFile;
    caller.get(url);
  }
  ~LateAsker() {
    if (first == nullptr) return;
    ask(*first);
    delete first;
    support::Caller second;
    ask(second);
  }
};
LateAsker asker;  // made before OpenSSL is set up, so it ends after OpenSSL

}  // namespace

int main(int /*count*/, char** arguments) {
  const std::string_view occasion = arguments[1];
  asker.url = arguments[2];
  asker.caFile = arguments[3];
  static std::atomic<int> count = 0;
  if (occasion == "running") {
    std::thread([asking = asker] {
      for (;; ++count, count.notify_one()) {
        support::Caller caller;
        asking.ask(caller);
      }
    }).detach();
    count.wait(0);
  } else {
    OPENSSL_init_ssl(0, nullptr);
    asker.first = new support::Caller;
    if (occasion == "second") asker.ask(*asker.first);
  }
  return 7;
}
