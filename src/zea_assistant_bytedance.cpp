// SPDX-License-Identifier: Apache-2.0
// The assistant for BYTEDANCE, which has no model listing.
#include "zea_assistants.h"

#include "zea_openai_call.h"

namespace {

class Call final : public ZEAOpenAICall {
 public:
  using ZEAOpenAICall::ZEAOpenAICall;

  static constexpr char kDefaultHost[] = "ark.cn-beijing.volces.com";

 protected:
  ZEAPath chatPath() const override { return {"api", "v3", "chat", "completions"}; }
};

class ZEAAssistant_BYTEDANCE final : public ZEABearerAssistant<Call> {
 public:
  using ZEABearerAssistant<Call>::ZEABearerAssistant;

  /// A host knows the models from elsewhere.
  std::pair<std::vector<std::string>, std::string> obtainAvailableModels() override { return {}; }
};

}  // namespace

std::unique_ptr<ZEAAssistant> zea::makeAssistant_BYTEDANCE(const ZEAAssistantParts& parts) {
  return makeAssistant<ZEAAssistant_BYTEDANCE>(parts);
}
