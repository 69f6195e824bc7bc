// SPDX-License-Identifier: Apache-2.0
// Ends a question from another thread, as the button of a window does: cancel URL QUESTION.
#include <zea/zea_owned.h>

#include <atomic>
#include <iostream>
#include <thread>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const auto source = std::make_shared<QXCancelSource>();
  const auto assistant = zea::createAssistant(ZEAAssistantType::OPENAI_v1, "none", argv[1], nullptr, source);
  zea::setProperty(*assistant, zea::property::kModel, "standin-large");
  zea::setProperty(*assistant, zea::property::kStructure,
                   R"([{"schemas": [{"tables": [{"name": "orders", "fields": [{"name": "id", "type": "int"}]}]}]}])");

  std::atomic<bool> isEnded = false;
  std::thread button([&] {
    while (!isEnded) source->cancel();  // without a question that runs it does nothing
  });
  zea::Answer answer;
  do {
    answer = zea::ask(*assistant, argv[2]);
  } while (answer.isAnswered);
  isEnded = true;
  button.join();
  std::cout << answer.failure << '\n';
  std::cout << zea::ask(*assistant, argv[2]).text << '\n';  // the next one works
  return source->obtainLastCode() == 200 || source->obtainLastCode() == 0 ? 0 : 1;
}
