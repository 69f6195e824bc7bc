// SPDX-License-Identifier: Apache-2.0
// The conversations that a user keeps.
#pragma once

#include <zeasqlite/conversation_store.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace console {

/// In the user's own folder for data, "zea/conversations.db". None is going on at first. Operations that fail throw
/// `Failure`.
class KeptConversation {
 public:
  KeptConversation();

  /// The latest first.
  std::vector<zeasqlite::ConversationInfo> list() const;
  /// By its place in the list, from 1 on, or by its title.
  zeasqlite::ConversationInfo find(const std::string& name) const;

  /// Another conversation goes on from now on, and the former one's memory goes. An empty title means the time.
  void begin(const std::string& title);
  void resume(const zeasqlite::ConversationInfo& conversation);
  /// REQUIRES: one goes on.
  void rename(const std::string& title);
  /// If it is the one that goes on, none does any more.
  void remove(const zeasqlite::ConversationInfo& conversation);

  /// Null while none goes on.
  zeasqlite::ConversationMemory* memory() { return memory_.get(); }
  const std::string& title() const { return title_; }
  /// A sentence about what could not be stored, or nothing.
  std::string failure() const { return memory_ == nullptr ? "" : memory_->failure(); }

 private:
  std::unique_ptr<zeasqlite::ConversationStore> store_;
  std::string title_;
  std::int64_t id_ = 0;
  std::unique_ptr<zeasqlite::ConversationMemory> memory_;  // uses the store
};

}  // namespace console
