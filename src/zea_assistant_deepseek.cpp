// SPDX-License-Identifier: Apache-2.0
// The assistant for DEEPSEEK, whose paths have no version.
#include "zea_assistants.h"

#include "zea_openai_call.h"

namespace {

class Call final : public ZEAOpenAICall {
 public:
  using ZEAOpenAICall::ZEAOpenAICall;

  static constexpr char kDefaultHost[] = "api.deepseek.com";

 protected:
  ZEAPath chatPath() const override { return {"chat", "completions"}; }
  ZEAPath listingPath() const override { return {"models"}; }
  std::optional<std::string> checkListing(const ZEAAnswer& answer) const override { return transportFirst(answer); }
  /// Its listing tells no dates: the models stay in its order.
  std::optional<std::int32_t> sortKey(const COJsonValue&) const override { return 0; }
};

}  // namespace

std::unique_ptr<ZEAAssistant> zea::makeAssistant_DEEPSEEK(const ZEAAssistantParts& parts) {
  return makeAssistant<ZEABearerAssistant<Call>>(parts);
}
