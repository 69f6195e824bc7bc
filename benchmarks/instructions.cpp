// SPDX-License-Identifier: Apache-2.0
// Performs one operation of the library a fixed number of times, for callgrind to count its instructions. It asks
// zea_instructions_server, a process that callgrind doesn't see. scripts/count-instructions runs both.
//
//   zea_instructions                     prints a line for each operation: its name, and how often it is performed
//   zea_instructions OPERATION PEER...   performs it; PEER is what zea_instructions_server prints
#include <valgrind/callgrind.h>

#include <algorithm>
#include <exception>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "question.h"
#include "structure_document.h"

namespace {

/// Where to ask.
struct Addresses {
  std::string chat;
  std::string secureChat;
  std::string listing;
};

/// Gives the same turns each time. They are short: a request that the system takes in one piece is always counted
/// alike.
class TurnsMemory final : public ForgetfulMemory {
 public:
  explicit TurnsMemory(std::int32_t count) {
    for (std::int32_t turn = 0; turn < count; ++turn) {
      turns_.push_back({turn % 2 == 0 ? ZEARoleUser : ZEARoleAssistant, "Turn " + std::to_string(turn) + ": orders?"});
    }
  }
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t) const override { return turns_; }

 private:
  std::vector<ZEAAssistantMemoryEntry> turns_;
};

/// The first time is not counted: it fills what is kept, such as connections, buffers and addresses of functions.
template <class Operation>
void count(int times, Operation operation) {
  operation();
  CALLGRIND_TOGGLE_COLLECT;
  for (int i = 0; i < times; ++i) operation();
  CALLGRIND_TOGGLE_COLLECT;
}

void askOrThrow(IZEAAssistant& assistant) {
  if (const std::string failure = ask(assistant); !failure.empty()) throw std::runtime_error(failure);
}

void askWithPrompt(const std::string& url, int times) {
  ForgetfulMemory memory;
  const Assistant assistant = createAssistant(url, &memory);
  setProperty(*assistant, "user_instructions", promptOf(2000));
  count(times, [&] { askOrThrow(*assistant); });
}

void question(const Addresses& addresses, int times) { askWithPrompt(addresses.chat, times); }

void questionOverTLS(const Addresses& addresses, int times) { askWithPrompt(addresses.secureChat, times); }

/// A new assistant over a new connection each time.
void firstQuestionOverTLS(const Addresses& addresses, int times) {
  ForgetfulMemory memory;
  count(times, [&] { askOrThrow(*createAssistant(addresses.secureChat, &memory)); });
}

void questionOfConversation(const Addresses& addresses, int times) {
  TurnsMemory memory(1000);
  const Assistant assistant = createAssistant(addresses.chat, &memory);
  count(times, [&] { askOrThrow(*assistant); });
}

void listing(const Addresses& addresses, int times) {
  const Assistant assistant = createAssistant(addresses.listing, nullptr);
  count(times, [&] {
    const auto [models, failure] = assistant->obtainAvailableModels();
    if (models.size() != 1000) throw std::runtime_error("not a thousand models: " + failure);
  });
}

void combinedInstructions(const Addresses&, int times) {
  const Assistant assistant = createAssistant("", nullptr);
  setProperty(*assistant, "db_structure", createStructureDocument(1'000'000));
  assistant->updateProperties(
      [&](IZEAProperties* properties) { count(times, [&] { properties->obtainValue("combined_instructions"); }); });
}

struct Operation {
  std::string_view name;
  int times;
  void (*perform)(const Addresses& addresses, int times);
};

constexpr Operation kOperations[] = {
    {"question", 500, question},
    {"question_https", 500, questionOverTLS},
    {"first_question_https", 50, firstQuestionOverTLS},
    {"conversation", 50, questionOfConversation},
    {"listing", 50, listing},
    {"combined_instructions", 5, combinedInstructions},
};

void perform(const std::vector<std::string>& words) {
  if (words.size() != 5) throw std::runtime_error("An operation and what zea_instructions_server prints are needed.");
  const auto* const operation = std::find_if(std::begin(kOperations), std::end(kOperations),
                                             [&](const Operation& known) { return known.name == words[0]; });
  if (operation == std::end(kOperations)) throw std::runtime_error("There is no operation " + words[0] + '.');
  CMRestGlobalSettings settings;
  settings.caFile = words[4];
  ZEASetHTTPSettings(settings);
  operation->perform({words[1], words[2], words[3]}, operation->times);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc > 1) {
      perform({argv + 1, argv + argc});
    } else {
      for (const Operation& operation : kOperations) std::cout << operation.name << ' ' << operation.times << '\n';
    }
    return 0;
  } catch (const std::exception& problem) {
    std::cerr << problem.what() << '\n';
    return 1;
  }
}
