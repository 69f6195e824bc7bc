// SPDX-License-Identifier: Apache-2.0
// A body as the reply to each provider's two operations, through a real exchange: the first byte chooses the provider,
// the operation and the status, the rest is the body.
#include <zea/zea.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "check.h"
#include "loopback/answering_server.h"

namespace {

/// Counts the turns and forgets them, so that no input depends on the one before.
class CountingMemory final : public IZEAAssistantMemory {
 public:
  void setStructureDocument(const std::string& /*document*/) override {}
  std::string obtainStructureDocument() const override { return {}; }
  void addEntry(std::int32_t /*role*/, const std::string& /*text*/) override { ++count; }
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t /*limit*/) const override { return {}; }

  std::size_t count = 0;
};

/// Made once: connections are kept, which makes the exchange fast enough.
struct Host {
  loopback::AnsweringServer server;
  CountingMemory memory;
  std::vector<IZEAAssistant*> assistants;  // of all providers

  Host() {
    std::unique_ptr<ICSHTTPPoolCenter> pool(QX::createHTTPPoolCenter());
    while (IZEAAssistant* const assistant = makeNext(*pool)) {
      static_cast<void>(pool.release());  // the assistant's now
      pool.reset(QX::createHTTPPoolCenter());
      assistants.push_back(assistant);
      assistant->updateProperties([](IZEAProperties* properties) {
        if (!properties->setValue("model", "m")) std::abort();
      });
    }
  }

  /// Null after the last provider.
  IZEAAssistant* makeNext(ICSHTTPPoolCenter& pool) {
    return ZEACreateAssistant(static_cast<ZEAAssistantType>(assistants.size()), &pool, "key", server.url(), &memory);
  }
};

void ask(IZEAAssistant& assistant, CountingMemory& memory) {
  memory.count = 0;
  const auto [message, failure] = assistant.addMessage("question");
  check((message == nullptr) != failure.empty(), "a message or a text");
  check(memory.count == (message != nullptr ? 2 : 0), "answered messages alone are remembered");
  if (message != nullptr) {
    check(message->obtainSections().size() == 1, "a reply is one text");
    check(message->obtainRole() == ZEARoleAssistant, "a reply is the assistant's");
  }
  ZEAFreeObject(message);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Host& host = *new Host;
  if (size == 0) return 0;
  const std::string body = textOf(data + 1, size - 1);
  const bool isFailed = (data[0] & 0x80) != 0;
  const bool isListing = (data[0] & 0x40) != 0;
  host.server.setReply(
      (isFailed ? "HTTP/1.1 400 Bad Request\r\nContent-Length: " : "HTTP/1.1 200 OK\r\nContent-Length: ") +
          std::to_string(body.size()) + "\r\n\r\n" + body,
      false);
  IZEAAssistant& assistant = *host.assistants[(data[0] & 0x3F) % host.assistants.size()];
  if (!isListing) {
    ask(assistant, host.memory);
  } else {
    const auto [models, failure] = assistant.obtainAvailableModels();
    check(models.empty() || failure.empty(), "models or a text");
  }
  return 0;
}
