// SPDX-License-Identifier: Apache-2.0
// The turns of a chat.
#pragma once

#include <zea/zea.h>

#include <string>
#include <vector>

#include "console/kept_conversation.h"

namespace console {

/// Keeps turns until they are forgotten, and the structure of the database.
class ChatMemory final : public IZEAAssistantMemory {
 public:
  void forgetTurns() { turns_.clear(); }
  /// What is said from now on is stored, too, whenever a conversation goes on there. The store outlives this object.
  void keepIn(KeptConversation& kept) { kept_ = &kept; }
  /// Takes over what is stored.
  void takeTurnsOf(const IZEAAssistantMemory& stored) { turns_ = stored.obtainEntries(0); }
  /// Stores all that has been said so far.
  void storeTurns() {
    for (const auto& turn : turns_) store(turn.role, turn.text);
  }

  void setStructureDocument(const std::string& document) override { document_ = document; }
  std::string obtainStructureDocument() const override { return document_; }
  void addEntry(std::int32_t role, const std::string& text) override {
    turns_.push_back({role, text});
    store(role, text);
  }
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t) const override { return turns_; }

 private:
  void store(std::int32_t role, const std::string& text) {
    if (kept_ != nullptr && kept_->memory() != nullptr) kept_->memory()->addEntry(role, text);
  }

  std::string document_;
  KeptConversation* kept_ = nullptr;
  std::vector<ZEAAssistantMemoryEntry> turns_;
};

}  // namespace console
