// SPDX-License-Identifier: Apache-2.0
// The smallest host: smallest_host URL QUESTION, against the stand-in or any server of the OpenAI format.
#include <zea/zea_owned.h>

#include <cstdlib>
#include <iostream>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const char* const key = std::getenv("OPENAI_API_KEY");
  const auto assistant = zea::createAssistant(ZEAAssistantType::OPENAI_v1, key != nullptr ? key : "none", argv[1]);
  const bool isTold = zea::setProperty(*assistant, zea::property::kModel, "standin-large") &&
                      zea::setProperty(*assistant, zea::property::kStructure,
                                       R"([{"schemas":[{"tables":[{"name":"orders","fields":[
        {"name":"id","type":"INTEGER"},{"name":"state","type":"TEXT"}],"pkeys":["id"]}]}]}])");
  if (!isTold) std::cerr << "The library did not accept a setting.\n";
  const zea::Answer answer = zea::ask(*assistant, argv[2]);
  if (answer.isAnswered) std::cout << answer.text << '\n';
  if (!answer.failure.empty()) std::cerr << answer.failure << '\n';
  return answer.isAnswered ? 0 : 1;
}
