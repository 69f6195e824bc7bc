// SPDX-License-Identifier: Apache-2.0
// A host that is linked with neither library and finds libzea by its C names.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "refusing_proxy.h"

namespace {

struct CloseLibrary {
  void operator()(void* library) const { EXPECT_EQ(dlclose(library), 0); }
};

}  // namespace

TEST(Loading, WorksEachTimeThatTheLibraryIsLoadedAndUnloaded) {
  for (int i = 0; i < 100; ++i) {
    const std::unique_ptr<void, CloseLibrary> library(dlopen(ZEA_LIBRARY, RTLD_NOW | RTLD_LOCAL));
    ASSERT_NE(library, nullptr) << dlerror();
    const auto create = reinterpret_cast<decltype(&ZEACreateAssistant)>(dlsym(library.get(), "ZEACreateAssistant"));
    const auto free = reinterpret_cast<decltype(&ZEAFreeObject)>(dlsym(library.get(), "ZEAFreeObject"));
    ASSERT_TRUE(create != nullptr && free != nullptr);

    IZEAAssistant* const assistant = create(ZEAAssistantType::OLLAMA, nullptr, "", kNobody, nullptr);
    const std::string endpoint = assistant->obtainEndpointURL();
    const auto [message, failure] = assistant->addMessage("hello");
    free(message);
    free(assistant);

    EXPECT_EQ(endpoint, std::string(kNobody) + "/api/chat");
    EXPECT_EQ(message, nullptr);
    EXPECT_NE(failure, "");
  }
  EXPECT_EQ(dlopen(ZEA_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is still loaded";
}

namespace {

void* loaded = nullptr;

template <class Function>
Function* find(const char* name) {
  return reinterpret_cast<Function*>(dlsym(loaded, name));
}

void askAtTheEnd() {
  IZEAAssistant* const assistant =
      find<decltype(ZEACreateAssistant)>("ZEACreateAssistant")(ZEAAssistantType::OLLAMA, nullptr, "", kNobody, nullptr);
  const std::string failure = assistant->addMessage("hello").second;
  find<decltype(ZEAFreeObject)>("ZEAFreeObject")(assistant);
  if (failure != "HTTP 503 Service Unavailable") std::_Exit(1);
}

[[noreturn]] void loadAndExit() {
  const CMRestGlobalSettings settings = startRefusingProxy();
  for (int i = 0; i < 3; ++i) {
    if (loaded != nullptr) dlclose(loaded);
    if (i == 1) std::atexit(askAtTheEnd);
    loaded = dlopen(ZEA_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    find<decltype(ZEASetHTTPSettings)>("ZEASetHTTPSettings")(settings);
  }
  std::exit(0);
}

}  // namespace

// The settings used to be destroyed ahead of what a host had registered before it loaded the library.
TEST(Loading, KeepsTheSettingsUntilTheProcessHasEnded) { EXPECT_EXIT(loadAndExit(), testing::ExitedWithCode(0), ""); }
