// The assistant for ANTHROPIC, over its Messages protocol, and its property store.
#pragma once

#include "zea_assistant.h"

namespace zea {

/// What goes out as "max_tokens" as long as nobody has assigned another number.
inline constexpr std::int32_t kDefaultMaxTokens = 1024;

}  // namespace zea

/// The plain store and one key more: "max_tokens", the longest reply in tokens, which goes out with every request.
class ZEAAssistantProperties_ANTHROPIC final : public ZEAAssistantProperties {
 public:
  /// Its memory is null until the assistant sets it.
  ZEAAssistantProperties_ANTHROPIC() : ZEAAssistantProperties(nullptr) {}

  std::vector<std::pair<std::string, std::string>> obtainDescription() const override;
  CMVariant obtainValue(const std::string& key) const override;
  bool setValue(const std::string& key, const CMVariant& value) override;

  std::int32_t maxTokens = zea::kDefaultMaxTokens;
};

class ZEAAssistant_ANTHROPIC final : public ZEAAssistant {
 public:
  ZEAAssistant_ANTHROPIC(ICSHTTPPoolCenter* pool, const std::string& apiHost, const std::string& apiKey,
                         IZEAAssistantMemory* memory);

  std::string obtainDefaultHost() const override;
  std::string obtainEndpointURL() const override;
  std::pair<std::vector<std::string>, std::string> obtainAvailableModels() override;
  std::pair<IZEAMessage*, std::string> addMessage(std::string text) override;

 protected:
  double limitTemperature(double temperature) const override;
  void sendCredentials() override;
};
