// SPDX-License-Identifier: Apache-2.0
// The assistant for OPENAI, over its chat-completions API.
#include "zea_assistants.h"

#include "zea_openai_call.h"

namespace {

class Call final : public ZEAOpenAICall {
 public:
  using ZEAOpenAICall::ZEAOpenAICall;

  static constexpr char kDefaultHost[] = "api.openai.com";

 protected:
  const char* instructionsRole() const override { return "developer"; }
};

}  // namespace

std::unique_ptr<ZEAAssistant> zea::makeAssistant_OPENAI_v1(const ZEAAssistantParts& parts) {
  return makeAssistant<ZEABearerAssistant<Call>>(parts);
}
