// The library's own memory, used when the host passes none.
#pragma once

#include "zea/izea_assistant_memory.h"

/// Keeps everything in the process, for as long as it lives: nothing shortens it, and the limit is not read, so a
/// conversation of any length is sent whole.
class ZEADefaultAssistantMemory final : public IZEAAssistantMemory {
 public:
  void setStructureDocument(const std::string& document) override { structureDocument = document; }
  std::string obtainStructureDocument() const override { return structureDocument; }
  /// The same without a copy: borrowed until the document is set again.
  const std::string& showStructureDocument() const noexcept { return structureDocument; }
  /// A reply that can't be kept takes its question along: what is remembered are whole turns.
  void addEntry(std::int32_t role, const std::string& text) override {
    try {
      entries.push_back({role, text});
    } catch (...) {
      const bool hasQuestion = !entries.empty() && entries.back().role == ZEARoleUser;
      if (role == ZEARoleAssistant && hasQuestion) entries.pop_back();
      throw;
    }
  }
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t /*limit*/) const override { return entries; }
  /// The same without a copy: borrowed until an entry is added.
  const std::vector<ZEAAssistantMemoryEntry>& showEntries() const noexcept { return entries; }

 private:
  std::string structureDocument;
  std::vector<ZEAAssistantMemoryEntry> entries;
};
