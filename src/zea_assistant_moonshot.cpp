#include "zea_assistant_moonshot.h"

#include "zea_openai_call.h"

namespace {

constexpr char kDefaultHost[] = "api.moonshot.ai";

class Call final : public ZEAOpenAICall {
 public:
  using ZEAOpenAICall::ZEAOpenAICall;
};

}  // namespace

ZEAAssistant_MOONSHOT::ZEAAssistant_MOONSHOT(ICSHTTPPoolCenter* pool, const std::string& apiHost,
                                             const std::string& apiKey, IZEAAssistantMemory* givenMemory)
    : ZEAAssistant(pool, apiHost, kDefaultHost, givenMemory) {
  adoptKey(apiKey);
}

std::string ZEAAssistant_MOONSHOT::obtainDefaultHost() const { return kDefaultHost; }

std::string ZEAAssistant_MOONSHOT::obtainEndpointURL() const { return Call(callContext()).chatURL(); }

std::pair<std::vector<std::string>, std::string> ZEAAssistant_MOONSHOT::obtainAvailableModels() {
  return Call(callContext()).listModels();
}

std::pair<IZEAMessage*, std::string> ZEAAssistant_MOONSHOT::addMessage(std::string text) {
  return Call(callContext()).sendMessage(text);
}
