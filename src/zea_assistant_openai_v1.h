// The assistant for OPENAI, over its chat-completions API.
#pragma once

#include "zea_assistant.h"

class ZEAAssistant_OPENAI_v1 final : public ZEAAssistant {
 public:
  ZEAAssistant_OPENAI_v1(ICSHTTPPoolCenter* pool, const std::string& apiHost, const std::string& apiKey,
                         IZEAAssistantMemory* memory);

  std::string obtainDefaultHost() const override;
  std::string obtainEndpointURL() const override;
  std::pair<std::vector<std::string>, std::string> obtainAvailableModels() override;
  std::pair<IZEAMessage*, std::string> addMessage(std::string text) override;
};
