// SPDX-License-Identifier: Apache-2.0
// A host that finds the library when it runs: with_dlopen URL QUESTION, with the library's file in ZEA_LIBRARY. It is
// linked with libqx, which makes the pool, but not with libzea.
#include <dlfcn.h>
#include <zea/zea.h>

#include <cstdlib>
#include <iostream>

int main(int argc, char** argv) {
  const char* const file = std::getenv("ZEA_LIBRARY");
  if (argc != 3 || file == nullptr) return 2;
  void* const library = ::dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::cerr << ::dlerror() << '\n';
    return 1;
  }
  const auto create = reinterpret_cast<decltype(&ZEACreateAssistant)>(::dlsym(library, "ZEACreateAssistant"));
  const auto free = reinterpret_cast<decltype(&ZEAFreeObject)>(::dlsym(library, "ZEAFreeObject"));
  if (create == nullptr || free == nullptr) return 1;

  IZEAAssistant* const assistant =
      create(ZEAAssistantType::OPENAI_v1, QX::createHTTPPoolCenter(), "none", argv[1], nullptr);
  assistant->updateProperties([](IZEAProperties* properties) {
    properties->setValue("model", "standin-large");
    properties->setValue("db_structure", R"([{"schemas": [{"tables": [{"name": "orders", "fields": []}]}]}])");
  });
  const auto [reply, failure] = assistant->addMessage(argv[2]);
  if (reply != nullptr) std::cout << reply->obtainSections().front()->obtainSectionText() << '\n';
  std::cerr << failure;
  const int code = reply != nullptr ? 0 : 1;
  free(reply);
  free(assistant);
  ::dlclose(library);
  return code;
}
