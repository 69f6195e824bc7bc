#include "zea_assistant_x.h"

#include "zea_error_text.h"
#include "zea_openai_call.h"

using namespace zea;

namespace {

constexpr char kDefaultHost[] = "api.x.ai";

class Call final : public ZEAOpenAICall {
 public:
  using ZEAOpenAICall::ZEAOpenAICall;

 protected:
  std::string errorText(const CMRestResourceResponse& response) const override {
    return extractCodeErrorText(response);
  }
  /// An "error" of any kind ends the listing; it is mostly a string.
  std::optional<std::string> reportedError(const ZEAAnswer& answer) const override {
    return ZEACall::reportedError(answer);
  }
};

}  // namespace

ZEAAssistant_X::ZEAAssistant_X(ICSHTTPPoolCenter* pool, const std::string& apiHost, const std::string& apiKey,
                               IZEAAssistantMemory* givenMemory)
    : ZEAAssistant(pool, apiHost, kDefaultHost, givenMemory) {
  adoptKey(apiKey);
}

std::string ZEAAssistant_X::obtainDefaultHost() const { return kDefaultHost; }

std::string ZEAAssistant_X::obtainEndpointURL() const { return Call(callContext()).chatURL(); }

std::pair<std::vector<std::string>, std::string> ZEAAssistant_X::obtainAvailableModels() {
  return Call(callContext()).listModels();
}

std::pair<IZEAMessage*, std::string> ZEAAssistant_X::addMessage(std::string text) {
  return Call(callContext()).sendMessage(text);
}

double ZEAAssistant_X::limitTemperature(double temperature) const { return temperature > 1.0 ? 1.0 : temperature; }
