#include "zea_assistant_ollama.h"

#include "zea_json_read.h"

using namespace zea;

namespace {

constexpr char kDefaultHost[] = "localhost:11434";

class Call final : public ZEACall {
 public:
  using ZEACall::ZEACall;

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
  std::optional<std::string> listingFailure(const ZEAAnswer& answer) const override {
    if (!answer.transportError.empty()) return answer.transportError;
    return failureOfTransport(answer);
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

}  // namespace

ZEAAssistant_OLLAMA::ZEAAssistant_OLLAMA(ICSHTTPPoolCenter* pool, const std::string& apiHost,
                                         IZEAAssistantMemory* givenMemory)
    : ZEAAssistant(pool, apiHost, kDefaultHost, givenMemory) {
  properties->secureByDefault = false;  // a local server seldom has a certificate
  properties->normalizeHost(apiHost, kDefaultHost, false);
}

std::string ZEAAssistant_OLLAMA::obtainDefaultHost() const { return kDefaultHost; }

std::string ZEAAssistant_OLLAMA::obtainEndpointURL() const { return Call(callContext()).chatURL(); }

std::pair<std::vector<std::string>, std::string> ZEAAssistant_OLLAMA::obtainAvailableModels() {
  return Call(callContext()).listModels();
}

std::pair<IZEAMessage*, std::string> ZEAAssistant_OLLAMA::addMessage(std::string text) {
  return Call(callContext()).sendMessage(text);
}

// A key may be set like any other property; it is sent nowhere.
void ZEAAssistant_OLLAMA::sendCredentials() {}
