// The turns of a chat.
#pragma once

#include <zea/zea.h>

#include <string>
#include <vector>

namespace console {

/// Keeps turns until they are forgotten, and the structure of the database.
class ChatMemory final : public IZEAAssistantMemory {
 public:
  void forgetTurns() { turns_.clear(); }

  void setStructureDocument(const std::string& document) override { document_ = document; }
  std::string obtainStructureDocument() const override { return document_; }
  void addEntry(std::int32_t role, const std::string& text) override { turns_.push_back({role, text}); }
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t) const override { return turns_; }

 private:
  std::string document_;
  std::vector<ZEAAssistantMemoryEntry> turns_;
};

}  // namespace console
