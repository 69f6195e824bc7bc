// The assistant for X, whose errors have a form of their own.
#pragma once

#include "zea_assistant.h"

class ZEAAssistant_X final : public ZEAAssistant {
 public:
  ZEAAssistant_X(ICSHTTPPoolCenter* pool, const std::string& apiHost, const std::string& apiKey,
                 IZEAAssistantMemory* memory);

  std::string obtainDefaultHost() const override;
  std::string obtainEndpointURL() const override;
  std::pair<std::vector<std::string>, std::string> obtainAvailableModels() override;
  std::pair<IZEAMessage*, std::string> addMessage(std::string text) override;

 protected:
  double limitTemperature(double temperature) const override;
};
