// The conversation that a chat keeps.
#pragma once

#include <zeasqlite/conversation_store.h>

#include <memory>
#include <string>

namespace console {

/// In the user's own folder for data, "zea/conversations.db". Operations that fail throw `Failure`.
class KeptConversation {
 public:
  /// The latest conversation, or a new one when there is none or `isNew`.
  explicit KeptConversation(bool isNew);

  zeasqlite::ConversationMemory& memory() { return *memory_; }
  const std::string& title() const { return title_; }
  /// Another conversation from now on; the former one stays, and its memory goes.
  void startAnew();
  /// A sentence about what could not be stored, or nothing.
  const std::string& failure() const { return memory_->failure(); }

 private:
  std::unique_ptr<zeasqlite::ConversationStore> store_;
  std::string title_;
  std::unique_ptr<zeasqlite::ConversationMemory> memory_;  // uses the store
};

}  // namespace console
