// The assistant for GOOGLE, over its generate-content protocol.
#pragma once

#include "zea_assistant.h"

class ZEAAssistant_GOOGLE final : public ZEAAssistant {
 public:
  ZEAAssistant_GOOGLE(ICSHTTPPoolCenter* pool, const std::string& apiHost, const std::string& apiKey,
                      IZEAAssistantMemory* memory);

  std::string obtainDefaultHost() const override;
  std::string obtainEndpointURL() const override;
  std::pair<std::vector<std::string>, std::string> obtainAvailableModels() override;
  std::pair<IZEAMessage*, std::string> addMessage(std::string text) override;

 protected:
  void sendCredentials() override;
};
