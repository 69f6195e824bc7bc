// SPDX-License-Identifier: Apache-2.0
#include "zea_default_assistant_memory.h"

void ZEADefaultAssistantMemory::addEntry(std::int32_t role, const std::string& text) {
  try {
    entries.push_back({role, text});
  } catch (...) {
    const bool hasQuestion = !entries.empty() && entries.back().role == ZEARoleUser;
    if (role == ZEARoleAssistant && hasQuestion) entries.pop_back();
    throw;
  }
}

namespace zea {

namespace {

const ZEADefaultAssistantMemory* asOwn(const IZEAAssistantMemory& memory) noexcept {
  return dynamic_cast<const ZEADefaultAssistantMemory*>(&memory);
}

}  // namespace

RememberedText readStructureDocument(const IZEAAssistantMemory& memory) {
  if (const auto* const own = asOwn(memory)) return RememberedText(&own->structureDocument);
  return RememberedText(memory.obtainStructureDocument());
}

RememberedTurns readTurns(const IZEAAssistantMemory& memory, std::int32_t limit) {
  if (const auto* const own = asOwn(memory)) return RememberedTurns(&own->entries);
  return RememberedTurns(memory.obtainEntries(limit));
}

}  // namespace zea
