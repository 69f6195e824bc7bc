#include "zea_assistant_alibaba.h"

#include "zea_openai_call.h"

namespace {

constexpr char kDefaultHost[] = "dashscope-intl.aliyuncs.com";

class Call final : public ZEAOpenAICall {
 public:
  using ZEAOpenAICall::ZEAOpenAICall;

 protected:
  ZEAPath chatPath() const override { return {"compatible-mode", "v1", "chat", "completions"}; }
  ZEAPath listingPath() const override { return {"compatible-mode", "v1", "models"}; }
  /// An "error" of any kind ends the listing, not only an object.
  std::optional<std::string> reportedError(const ZEAAnswer& answer) const override {
    return ZEACall::reportedError(answer);
  }
};

}  // namespace

ZEAAssistant_ALIBABA::ZEAAssistant_ALIBABA(ICSHTTPPoolCenter* pool, const std::string& apiHost,
                                           const std::string& apiKey, IZEAAssistantMemory* givenMemory)
    : ZEAAssistant(pool, apiHost, kDefaultHost, givenMemory) {
  adoptKey(apiKey);
}

std::string ZEAAssistant_ALIBABA::obtainDefaultHost() const { return kDefaultHost; }

// The listing's URL, the one of the family that isn't the chat's.
std::string ZEAAssistant_ALIBABA::obtainEndpointURL() const { return Call(callContext()).listingURL(); }

std::pair<std::vector<std::string>, std::string> ZEAAssistant_ALIBABA::obtainAvailableModels() {
  return Call(callContext()).listModels();
}

std::pair<IZEAMessage*, std::string> ZEAAssistant_ALIBABA::addMessage(std::string text) {
  return Call(callContext()).sendMessage(text);
}

// ALIBABA takes temperatures below 2, without 2 itself.
double ZEAAssistant_ALIBABA::limitTemperature(double temperature) const {
  return temperature >= 2.0 ? 1.99 : temperature;
}
