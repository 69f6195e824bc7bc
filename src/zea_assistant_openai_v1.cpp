#include "zea_assistant_openai_v1.h"

#include "zea_openai_call.h"

namespace {

constexpr char kDefaultHost[] = "api.openai.com";

class Call final : public ZEAOpenAICall {
 public:
  using ZEAOpenAICall::ZEAOpenAICall;

 protected:
  const char* instructionsRole() const override { return "developer"; }
};

}  // namespace

ZEAAssistant_OPENAI_v1::ZEAAssistant_OPENAI_v1(ICSHTTPPoolCenter* pool, const std::string& apiHost,
                                               const std::string& apiKey, IZEAAssistantMemory* givenMemory)
    : ZEAAssistant(pool, apiHost, kDefaultHost, givenMemory) {
  adoptKey(apiKey);
}

std::string ZEAAssistant_OPENAI_v1::obtainDefaultHost() const { return kDefaultHost; }

std::string ZEAAssistant_OPENAI_v1::obtainEndpointURL() const { return Call(callContext()).chatURL(); }

std::pair<std::vector<std::string>, std::string> ZEAAssistant_OPENAI_v1::obtainAvailableModels() {
  return Call(callContext()).listModels();
}

std::pair<IZEAMessage*, std::string> ZEAAssistant_OPENAI_v1::addMessage(std::string text) {
  return Call(callContext()).sendMessage(text);
}
