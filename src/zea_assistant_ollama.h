// The assistant for an OLLAMA server, mostly a local one; it takes no key.
#pragma once

#include "zea_assistant.h"

class ZEAAssistant_OLLAMA final : public ZEAAssistant {
 public:
  ZEAAssistant_OLLAMA(ICSHTTPPoolCenter* pool, const std::string& apiHost, IZEAAssistantMemory* memory);

  std::string obtainDefaultHost() const override;
  std::string obtainEndpointURL() const override;
  std::pair<std::vector<std::string>, std::string> obtainAvailableModels() override;
  std::pair<IZEAMessage*, std::string> addMessage(std::string text) override;

 protected:
  void sendCredentials() override;
};
