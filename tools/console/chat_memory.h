// SPDX-License-Identifier: Apache-2.0
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
  /// Stores what comes from now on, too; null: no more. The memory outlives this object or the next call.
  void keepIn(IZEAAssistantMemory* stored) { stored_ = stored; }
  /// Takes over what is stored.
  void takeTurnsOf(const IZEAAssistantMemory& stored) { turns_ = stored.obtainEntries(0); }
  /// Stores all that has been said so far.
  void storeTurns() {
    for (const auto& turn : turns_) stored_->addEntry(turn.role, turn.text);
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
