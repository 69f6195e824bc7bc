// SPDX-License-Identifier: Apache-2.0
#include "zea/zea_exports.h"

#include <memory>

#include "zea_assistants.h"
#include "zea_globals.h"

using namespace zea;

namespace {

/// Null for a number that names no provider.
std::unique_ptr<ZEAAssistant> makeAssistant(ZEAAssistantType type, const ZEAAssistantParts& parts) {
  switch (type) {
    case ZEAAssistantType::OPENAI_v1:
      return makeAssistant_OPENAI_v1(parts);
    case ZEAAssistantType::GOOGLE:
      return makeAssistant_GOOGLE(parts);
    case ZEAAssistantType::DEEPSEEK:
      return makeAssistant_DEEPSEEK(parts);
    case ZEAAssistantType::OLLAMA:
      return makeAssistant_OLLAMA(parts);
    case ZEAAssistantType::X:
      return makeAssistant_X(parts);
    case ZEAAssistantType::ANTHROPIC:
      return makeAssistant_ANTHROPIC(parts);
    case ZEAAssistantType::ALIBABA:
      return makeAssistant_ALIBABA(parts);
    case ZEAAssistantType::BYTEDANCE:
      return makeAssistant_BYTEDANCE(parts);
    case ZEAAssistantType::MOONSHOT:
      return makeAssistant_MOONSHOT(parts);
  }
  return nullptr;
}

}  // namespace

IZEAAssistant* ZEACreateAssistant(ZEAAssistantType type, ICSHTTPPoolCenter* pool, const std::string& apiKey,
                                  const std::string& apiHost, IZEAAssistantMemory* memory) {
  return makeAssistant(type, {pool, apiHost, apiKey, memory}).release();
}

void ZEAFreeObject(IZEAObject* object) { delete object; }

void ZEARegisterCallback(ZEACallback callback) { gCallback = callback; }

void ZEASetHTTPSettings(const CMRestGlobalSettings& settings) { gRestSettings() = settings; }
