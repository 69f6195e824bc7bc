// SPDX-License-Identifier: Apache-2.0
// The assistant for MOONSHOT.
#include "zea_assistants.h"

#include "zea_openai_call.h"

namespace {

class Call final : public ZEAOpenAICall {
 public:
  using ZEAOpenAICall::ZEAOpenAICall;

  static constexpr char kDefaultHost[] = "api.moonshot.ai";
};

}  // namespace

std::unique_ptr<ZEAAssistant> zea::makeAssistant_MOONSHOT(const ZEAAssistantParts& parts) {
  return makeAssistant<ZEABearerAssistant<Call>>(parts);
}
