#include "zea_assistant_deepseek.h"

#include "zea_openai_call.h"

namespace {

constexpr char kDefaultHost[] = "api.deepseek.com";

class Call final : public ZEAOpenAICall {
 public:
  using ZEAOpenAICall::ZEAOpenAICall;

 protected:
  ZEAPath chatPath() const override { return {"chat", "completions"}; }
  ZEAPath listingPath() const override { return {"models"}; }
  std::optional<std::string> listingFailure(const ZEAAnswer& answer) const override {
    return failureOfTransport(answer);
  }
  /// Its listing tells no dates: the models stay in its order.
  std::optional<std::int32_t> sortKey(const COJsonValue&) const override { return 0; }
};

}  // namespace

ZEAAssistant_DEEPSEEK::ZEAAssistant_DEEPSEEK(ICSHTTPPoolCenter* pool, const std::string& apiHost,
                                             const std::string& apiKey, IZEAAssistantMemory* givenMemory)
    : ZEAAssistant(pool, apiHost, kDefaultHost, givenMemory) {
  adoptKey(apiKey);
}

std::string ZEAAssistant_DEEPSEEK::obtainDefaultHost() const { return kDefaultHost; }

std::string ZEAAssistant_DEEPSEEK::obtainEndpointURL() const { return Call(callContext()).chatURL(); }

std::pair<std::vector<std::string>, std::string> ZEAAssistant_DEEPSEEK::obtainAvailableModels() {
  return Call(callContext()).listModels();
}

std::pair<IZEAMessage*, std::string> ZEAAssistant_DEEPSEEK::addMessage(std::string text) {
  return Call(callContext()).sendMessage(text);
}
