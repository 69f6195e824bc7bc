// A host that is linked with neither library and finds libzea by its C names.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <zea/zea.h>

#include <memory>
#include <string>

namespace {

struct CloseLibrary {
  void operator()(void* library) const { EXPECT_EQ(dlclose(library), 0); }
};

}  // namespace

TEST(Loading, WorksEachTimeThatTheLibraryIsLoadedAndUnloaded) {
  const std::string host = "http://127.0.0.1:0";  // where nobody can be listening
  for (int i = 0; i < 100; ++i) {
    const std::unique_ptr<void, CloseLibrary> library(dlopen(ZEA_LIBRARY, RTLD_NOW | RTLD_LOCAL));
    ASSERT_NE(library, nullptr) << dlerror();
    const auto create = reinterpret_cast<decltype(&ZEACreateAssistant)>(dlsym(library.get(), "ZEACreateAssistant"));
    const auto free = reinterpret_cast<decltype(&ZEAFreeObject)>(dlsym(library.get(), "ZEAFreeObject"));
    ASSERT_TRUE(create != nullptr && free != nullptr);

    IZEAAssistant* const assistant = create(ZEAAssistantType::OLLAMA, nullptr, "", host, nullptr);
    const std::string endpoint = assistant->obtainEndpointURL();
    const auto [message, failure] = assistant->addMessage("hello");
    free(message);
    free(assistant);

    EXPECT_EQ(endpoint, host + "/api/chat");
    EXPECT_EQ(message, nullptr);
    EXPECT_NE(failure, "");
  }
}
