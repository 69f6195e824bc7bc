// SPDX-License-Identifier: Apache-2.0
// Conversations that last, in a file.
#pragma once

#include <zea/izea_assistant_memory.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zeakit/export.h"

namespace zeasqlite {

class ConversationStore;

struct ConversationInfo {
  std::int64_t id = 0;
  std::string title;
  /// Seconds since the epoch, UTC; of the last turn, or of the beginning without one.
  std::int64_t startedAt = 0;
  std::int64_t changedAt = 0;
  /// Answers in it.
  std::size_t answers = 0;
};

struct ConversationList {
  std::vector<ConversationInfo> conversations;
  /// A sentence about why they can't be read; empty when they could.
  std::string error;
};

struct NewConversation {
  std::int64_t id = 0;
  /// A sentence about why there is none; empty when there is.
  std::string error;
};

/// A conversation of a store, as the memory of an assistant. The structure document is kept for this object's life and
/// never stored. Made by `ConversationStore::memory`; uses the store, which must outlive it, in the store's thread.
class ZEAKIT_API ConversationMemory final : public IZEAAssistantMemory {
 public:
  /// Why the last turns could not be stored or read; empty when all is well. Turns that could not be stored stay here
  /// and are handed out, and the next answer stores them along with itself.
  [[nodiscard]] const std::string& failure() const { return failure_; }
  /// Tries again to store what could not be. True when nothing is left.
  bool store();

  void setStructureDocument(const std::string& document) override { document_ = document; }
  std::string obtainStructureDocument() const override { return document_; }
  /// A turn waits for the assistant's that follows on it; then all are stored at once, or none.
  void addEntry(std::int32_t role, const std::string& text) override;
  /// The latest turns, at most `limit` of them, beginning with a question; all with a limit of 0 or below. They are
  /// read from the file each time, so that of several processes each sees what the others have added.
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t limit) const override;

 private:
  friend class ConversationStore;
  ConversationMemory(ConversationStore& store, std::int64_t conversation)
      : store_(store), conversation_(conversation) {}

  ConversationStore& store_;
  std::int64_t conversation_;
  std::string document_;
  std::vector<ZEAAssistantMemoryEntry> waiting_;
  mutable std::string failure_;
};

struct OpenedStore {
  std::unique_ptr<ConversationStore> store;
  /// A sentence about why there is none; empty when there is.
  std::string error;
};

/// Conversations in an SQLite file, which several processes may have open. One thread at a time. Texts are bytes and
/// come back unchanged. What is deleted or renamed is overwritten in the file; while another process reads, its former
/// text may stay in the log beside the file until the next change.
class ZEAKIT_API ConversationStore {
 public:
  /// Opens a store, or makes one that only its user may read and write. A file that is something else, another
  /// program's database or a newer version's store among them, is refused and stays as it is.
  [[nodiscard]] static OpenedStore open(const std::string& file);
  ~ConversationStore();
  ConversationStore(const ConversationStore&) = delete;
  ConversationStore& operator=(const ConversationStore&) = delete;

  [[nodiscard]] NewConversation create(const std::string& title);
  /// The latest first.
  [[nodiscard]] ConversationList list() const;
  /// Those whose title or one of whose turns has the text in it, ASCII letters in either case; the latest first.
  [[nodiscard]] ConversationList search(const std::string& text) const;

  /// These return a sentence when nothing was changed, empty otherwise. One that doesn't exist is renamed and deleted
  /// without a complaint.
  [[nodiscard]] std::string rename(std::int64_t conversation, const std::string& title);
  [[nodiscard]] std::string remove(std::int64_t conversation);
  /// Deletes what has not changed since a time, in seconds since the epoch, UTC.
  [[nodiscard]] std::string removeUnchangedSince(std::int64_t time);

  /// Never null. Turns of a conversation that has been deleted meanwhile can't be stored.
  [[nodiscard]] std::unique_ptr<ConversationMemory> memory(std::int64_t conversation);

 private:
  friend class ConversationMemory;
  struct Database;
  explicit ConversationStore(std::unique_ptr<Database> database);
  std::string add(std::int64_t conversation, const std::vector<ZEAAssistantMemoryEntry>& turns);
  std::string read(std::int64_t conversation, std::int32_t limit, std::vector<ZEAAssistantMemoryEntry>& turns) const;

  std::unique_ptr<Database> database_;
};

}  // namespace zeasqlite
