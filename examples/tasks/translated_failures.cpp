// SPDX-License-Identifier: Apache-2.0
// Failures in the user's language: translated_failures URL QUESTION. The library's own texts are asked for; what a
// provider says stays in its words.
#include <zea/zea_owned.h>

#include <cstring>
#include <iostream>

namespace {

void translate(const char* request, void* data) {
  if (std::strcmp(request, "ZEALocalizeString") != 0) return;
  auto* const text = static_cast<ZEACallbackLocalizationInfo*>(data);
  if (std::strcmp(text->sourceText, "Model is empty") == 0) {
    std::strncpy(text->localizedText, "Es ist kein Modell gewählt", sizeof(text->localizedText) - 1);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  ZEARegisterCallback(translate);
  const auto assistant = zea::createAssistant(ZEAAssistantType::OPENAI_v1, "none", argv[1]);
  const zea::Answer refused = zea::ask(*assistant, argv[2]);
  std::cout << qxMaskSecret(refused.failure, "none") << '\n';
  zea::setProperty(*assistant, zea::property::kModel, "standin-large");
  zea::setProperty(*assistant, zea::property::kStructure,
                   R"([{"schemas": [{"tables": [{"name": "orders", "fields": [{"name": "id", "type": "int"}]}]}]}])");
  std::cout << zea::ask(*assistant, argv[2]).text << '\n';
  return refused.failure.rfind("Es ist kein Modell", 0) == 0 ? 0 : 1;
}
