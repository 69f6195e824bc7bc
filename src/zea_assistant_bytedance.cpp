#include "zea_assistant_bytedance.h"

#include "zea_openai_call.h"

namespace {

constexpr char kDefaultHost[] = "ark.cn-beijing.volces.com";

class Call final : public ZEAOpenAICall {
 public:
  using ZEAOpenAICall::ZEAOpenAICall;

 protected:
  ZEAPath chatPath() const override { return {"api", "v3", "chat", "completions"}; }
};

}  // namespace

ZEAAssistant_BYTEDANCE::ZEAAssistant_BYTEDANCE(ICSHTTPPoolCenter* pool, const std::string& apiHost,
                                               const std::string& apiKey, IZEAAssistantMemory* givenMemory)
    : ZEAAssistant(pool, apiHost, kDefaultHost, givenMemory) {
  adoptKey(apiKey);
}

std::string ZEAAssistant_BYTEDANCE::obtainDefaultHost() const { return kDefaultHost; }

std::string ZEAAssistant_BYTEDANCE::obtainEndpointURL() const { return Call(callContext()).chatURL(); }

// A host knows the models from elsewhere.
std::pair<std::vector<std::string>, std::string> ZEAAssistant_BYTEDANCE::obtainAvailableModels() { return {}; }

std::pair<IZEAMessage*, std::string> ZEAAssistant_BYTEDANCE::addMessage(std::string text) {
  return Call(callContext()).sendMessage(text);
}
