// The smallest host: smallest_host URL QUESTION, against the stand-in or any server of the OpenAI format.
#include <zea/zea.h>

#include <cstdlib>
#include <iostream>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const char* const key = std::getenv("OPENAI_API_KEY");
  IZEAAssistant* const assistant = ZEACreateAssistant(ZEAAssistantType::OPENAI_v1, QX::createHTTPPoolCenter(),
                                                      key != nullptr ? key : "none", argv[1], nullptr);
  bool isSet = false;
  assistant->updateProperties([&](IZEAProperties* properties) {
    isSet = properties->setValue("model", "standin-large") &&
            properties->setValue("db_structure", R"([{"schemas":[{"tables":[{"name":"orders","fields":[
        {"name":"id","type":"INTEGER"},{"name":"state","type":"TEXT"}],"pkeys":["id"]}]}]}])");
  });
  if (!isSet) std::cerr << "The library did not accept a setting.\n";
  const auto [reply, failure] = assistant->addMessage(argv[2]);
  if (reply != nullptr) std::cout << reply->obtainSections().front()->obtainSectionText() << '\n';
  if (!failure.empty()) std::cerr << failure << '\n';
  const int code = reply != nullptr ? 0 : 1;
  ZEAFreeObject(reply);
  ZEAFreeObject(assistant);
  return code;
}
