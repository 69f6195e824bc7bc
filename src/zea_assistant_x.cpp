// SPDX-License-Identifier: Apache-2.0
// The assistant for X, whose errors have a form of their own.
#include "zea_assistants.h"

#include "zea_openai_call.h"
#include "zea_provider_error.h"

using namespace zea;

namespace {

class Call final : public ZEAOpenAICall {
 public:
  using ZEAOpenAICall::ZEAOpenAICall;

  static constexpr char kDefaultHost[] = "api.x.ai";

 protected:
  std::string providerText(const CMRestResourceResponse& response) const override {
    return extractCodeErrorText(response);
  }
  /// An "error" of any kind ends the listing; it is mostly a string.
  std::optional<std::string> errorInBody(const COJsonValue& body, const ZEAAnswer& answer) const override {
    return ZEACall::errorInBody(body, answer);
  }
};

class ZEAAssistant_X final : public ZEABearerAssistant<Call> {
 public:
  using ZEABearerAssistant<Call>::ZEABearerAssistant;

 protected:
  double limitTemperature(double temperature) const override { return temperature > 1.0 ? 1.0 : temperature; }
};

}  // namespace

std::unique_ptr<ZEAAssistant> zea::makeAssistant_X(const ZEAAssistantParts& parts) {
  return makeAssistant<ZEAAssistant_X>(parts);
}
