// SPDX-License-Identifier: Apache-2.0
// A conversation: conversation URL QUESTION. The second question knows the first one; a failed one leaves no trace.
#include <zea/zea_owned.h>

#include <iostream>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const auto assistant = zea::createAssistant(ZEAAssistantType::ANTHROPIC, "none", argv[1]);
  zea::setProperty(*assistant, zea::property::kModel, "standin-large");
  zea::setProperty(*assistant, zea::property::kUserInstructions, "Answer in one sentence.");
  zea::setProperty(*assistant, zea::property::kStructure,
                   R"([{"schemas": [{"tables": [{"name": "orders", "fields": [{"name": "id", "type": "int"}]}]}]}])");

  for (const char* question : {static_cast<const char*>(argv[2]), "And the oldest of them?"}) {
    const zea::Answer answer = zea::ask(*assistant, question);
    if (!answer.isAnswered) {
      std::cerr << answer.failure << '\n';
      return 1;
    }
    std::cout << answer.text << "\n\n";
  }
}
