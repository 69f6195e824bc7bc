// SPDX-License-Identifier: Apache-2.0
// The assistant for ALIBABA, in its OpenAI-compatible mode.
#include "zea_assistants.h"

#include "zea_openai_call.h"

namespace {

class Call final : public ZEAOpenAICall {
 public:
  using ZEAOpenAICall::ZEAOpenAICall;

  static constexpr char kDefaultHost[] = "dashscope-intl.aliyuncs.com";

 protected:
  ZEAPath chatPath() const override { return {"compatible-mode", "v1", "chat", "completions"}; }
  ZEAPath listingPath() const override { return {"compatible-mode", "v1", "models"}; }
  /// An "error" of any kind ends the listing, not only an object.
  std::optional<std::string> errorInBody(const COJsonValue& body, const ZEAAnswer& answer) const override {
    return ZEACall::errorInBody(body, answer);
  }
};

class ZEAAssistant_ALIBABA final : public ZEABearerAssistant<Call> {
 public:
  using ZEABearerAssistant<Call>::ZEABearerAssistant;

  /// The listing's URL, the one of the family that isn't the chat's.
  std::string obtainEndpointURL() const override { return Call(callContext()).listingURL(); }

 protected:
  /// It takes temperatures below 2, without 2 itself.
  double limitTemperature(double temperature) const override { return temperature >= 2.0 ? 1.99 : temperature; }
};

}  // namespace

std::unique_ptr<ZEAAssistant> zea::makeAssistant_ALIBABA(const ZEAAssistantParts& parts) {
  return makeAssistant<ZEAAssistant_ALIBABA>(parts);
}
