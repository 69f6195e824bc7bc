// SPDX-License-Identifier: Apache-2.0
// The assistants, each told in a source of its own. All of them return a whole assistant, which owns the pool, or
// throw `std::bad_alloc`, and then the pool stays the caller's.
#pragma once

#include <memory>

#include "zea_assistant.h"

namespace zea {

std::unique_ptr<ZEAAssistant> makeAssistant_OPENAI_v1(const ZEAAssistantParts& parts);
std::unique_ptr<ZEAAssistant> makeAssistant_GOOGLE(const ZEAAssistantParts& parts);
std::unique_ptr<ZEAAssistant> makeAssistant_DEEPSEEK(const ZEAAssistantParts& parts);
std::unique_ptr<ZEAAssistant> makeAssistant_OLLAMA(const ZEAAssistantParts& parts);
std::unique_ptr<ZEAAssistant> makeAssistant_X(const ZEAAssistantParts& parts);
std::unique_ptr<ZEAAssistant> makeAssistant_ANTHROPIC(const ZEAAssistantParts& parts);
std::unique_ptr<ZEAAssistant> makeAssistant_ALIBABA(const ZEAAssistantParts& parts);
std::unique_ptr<ZEAAssistant> makeAssistant_BYTEDANCE(const ZEAAssistantParts& parts);
std::unique_ptr<ZEAAssistant> makeAssistant_MOONSHOT(const ZEAAssistantParts& parts);

}  // namespace zea
