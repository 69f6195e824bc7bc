// SPDX-License-Identifier: Apache-2.0
// The assistant for an OLLAMA server, mostly a local one; it takes no key.
#include "zea_assistants.h"

#include "zea_json_read.h"

using namespace zea;

namespace {

class Call final : public ZEACall {
 public:
  using ZEACall::ZEACall;

  static constexpr char kDefaultHost[] = "localhost:11434";

 protected:
  ZEAPath chatPath() const override { return {"api", "chat"}; }
  ZEAPath listingPath() const override { return {"api", "tags"}; }
  bool hasUsableModel() const override { return true; }  // without one the server itself answers

  void writeBody(COJson& body, const ZEAPrompt& prompt) const override {
    if (!properties.model.empty()) body.addKeyValue("model")->setStringValue(properties.model);
    body.addKeyValue("stream")->setBoolValue(false);
    if (properties.sendsTemperature()) writeTemperature(*body.addKeyValue("options"));
    COJsonValue* const messages = body.addKeyValue("messages");
    messages->setAsArray();
    writeInstructions(*messages, "system", prompt);
    writeTurns(*messages, prompt);
  }

  std::optional<std::string> readReply(const COJsonValue& body) const override {
    const COJsonValue* const message = objectMember(body, "message");
    if (message == nullptr || stringMember(*message, "role") != "assistant") return std::nullopt;
    const auto content = stringMember(*message, "content");
    if (!content) return std::nullopt;
    return std::string(*content);
  }

  /// Its words about a failed listing are not read.
  std::optional<std::string> checkListing(const ZEAAnswer& answer) const override {
    if (answer.transportError.empty()) return std::nullopt;
    return answer.transportError;
  }

  std::optional<std::vector<std::string>> readModels(const COJsonValue& body) const override {
    const COJsonValue* const listed = arrayMember(body, "models");
    if (listed == nullptr) return std::nullopt;
    std::vector<std::string> names;
    forEachItem(*listed, [&names](const COJsonValue& model) {
      if (const auto name = stringMember(model, "name")) names.emplace_back(*name);
    });
    return names;
  }
};

class ZEAAssistant_OLLAMA final : public ZEAAssistantWith<Call> {
 public:
  explicit ZEAAssistant_OLLAMA(const ZEAAssistantParts& parts) : ZEAAssistantWith(parts) {
    properties->secureByDefault = false;  // a local server seldom has a certificate
    properties->normalizeHost(parts.apiHost, Call::kDefaultHost, false);
  }

 protected:
  /// A key may be set like any other property; it is sent nowhere.
  void sendCredentials() override {}
};

}  // namespace

std::unique_ptr<ZEAAssistant> zea::makeAssistant_OLLAMA(const ZEAAssistantParts& parts) {
  return makeAssistant<ZEAAssistant_OLLAMA>(parts);
}
