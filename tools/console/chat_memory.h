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
  /// Takes over what is stored, and stores what comes. The memory outlives this object.
  void keepIn(IZEAAssistantMemory& stored) {
    turns_ = stored.obtainEntries(0);
    stored_ = &stored;
  }

  void setStructureDocument(const std::string& document) override { document_ = document; }
  std::string obtainStructureDocument() const override { return document_; }
  void addEntry(std::int32_t role, const std::string& text) override {
    turns_.push_back({role, text});
    if (stored_ != nullptr) stored_->addEntry(role, text);
  }
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t) const override { return turns_; }

 private:
  std::string document_;
  IZEAAssistantMemory* stored_ = nullptr;
  std::vector<ZEAAssistantMemoryEntry> turns_;
};

}  // namespace console
