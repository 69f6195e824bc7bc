// SPDX-License-Identifier: Apache-2.0
// A host whose static object sets the settings before main begins and asks after it has ended.
#include <cstdio>

#include "refusing_proxy.h"

namespace {

/// The user is to read these words about a question to nobody.
void expect(const char* words) {
  IZEAAssistant* const assistant =
      ZEACreateAssistant(ZEAAssistantType::OLLAMA, QX::createHTTPPoolCenter(), "", kNobody, nullptr);
  const auto [message, failure] = assistant->addMessage("hello");
  ZEAFreeObject(message);
  ZEAFreeObject(assistant);
  if (failure.find(words) != std::string::npos) return;
  std::fprintf(stderr, "expected: %s, read: %s\n", words, failure.c_str());
  std::_Exit(1);
}

struct Host {
  Host() {
    if (isEarly) ZEASetHTTPSettings(startRefusingProxy());
  }
  ~Host() {
    expect(kRefusal);
    ZEASetHTTPSettings({});
    expect("No connection could be made");
  }
  bool isEarly = std::getenv("ZEA_SET_BEFORE_MAIN") != nullptr;
};
const Host host;

}  // namespace

int main() {
  if (!host.isEarly) ZEASetHTTPSettings(startRefusingProxy());
  expect(kRefusal);
  return 0;
}
