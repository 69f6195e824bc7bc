#include "zea/zea_exports.h"

#include <memory>

#include "zea_assistant_alibaba.h"
#include "zea_assistant_anthropic.h"
#include "zea_assistant_bytedance.h"
#include "zea_assistant_deepseek.h"
#include "zea_assistant_google.h"
#include "zea_assistant_moonshot.h"
#include "zea_assistant_ollama.h"
#include "zea_assistant_openai_v1.h"
#include "zea_assistant_x.h"
#include "zea_globals.h"

using namespace zea;

namespace {

/// Only a whole assistant takes the pool over: as long as its constructor can still throw, the pool is the caller's.
template <class Assistant, class... Arguments>
IZEAAssistant* newAssistant(ICSHTTPPoolCenter* pool, const Arguments&... arguments) {
  auto assistant = std::make_unique<Assistant>(pool, arguments...);
  assistant->adoptPoolCenter(pool);
  return assistant.release();
}

}  // namespace

IZEAAssistant* ZEACreateAssistant(ZEAAssistantType type, ICSHTTPPoolCenter* pool, const std::string& apiKey,
                                  const std::string& apiHost, IZEAAssistantMemory* memory) {
  switch (type) {
    case ZEAAssistantType::OPENAI_v1:
      return newAssistant<ZEAAssistant_OPENAI_v1>(pool, apiHost, apiKey, memory);
    case ZEAAssistantType::GOOGLE:
      return newAssistant<ZEAAssistant_GOOGLE>(pool, apiHost, apiKey, memory);
    case ZEAAssistantType::DEEPSEEK:
      return newAssistant<ZEAAssistant_DEEPSEEK>(pool, apiHost, apiKey, memory);
    case ZEAAssistantType::OLLAMA:
      return newAssistant<ZEAAssistant_OLLAMA>(pool, apiHost, memory);
    case ZEAAssistantType::X:
      return newAssistant<ZEAAssistant_X>(pool, apiHost, apiKey, memory);
    case ZEAAssistantType::ANTHROPIC:
      return newAssistant<ZEAAssistant_ANTHROPIC>(pool, apiHost, apiKey, memory);
    case ZEAAssistantType::ALIBABA:
      return newAssistant<ZEAAssistant_ALIBABA>(pool, apiHost, apiKey, memory);
    case ZEAAssistantType::BYTEDANCE:
      return newAssistant<ZEAAssistant_BYTEDANCE>(pool, apiHost, apiKey, memory);
    case ZEAAssistantType::MOONSHOT:
      return newAssistant<ZEAAssistant_MOONSHOT>(pool, apiHost, apiKey, memory);
  }
  return nullptr;  // a number that names no provider
}

void ZEAFreeObject(IZEAObject* object) { delete object; }

void ZEARegisterCallback(ZEACallback callback) { gCallback = callback; }

void ZEASetHTTPSettings(const CMRestGlobalSettings& settings) { gRestSettings() = settings; }
