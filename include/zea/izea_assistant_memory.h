// SPDX-License-Identifier: Apache-2.0
// What an assistant remembers between two messages.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zea/izea_object.h"

/// Whose turn an entry or a message is. Any other number is sent as the user's.
inline constexpr std::int32_t ZEARoleUser = 0;
inline constexpr std::int32_t ZEARoleAssistant = 1;

/// One remembered turn. The text is bytes.
struct ZEAAssistantMemoryEntry {
  std::int32_t role;
  std::string text;
};

/// The turns of a conversation and, beside them, the JSON text of the database structure. The library has an
/// implementation of its own, used when a host passes none. A host writes one to keep a conversation itself or to
/// carry it from one assistant to another: a memory is bound to no provider.
///
/// A memory serves one thread at a time, the one that is using its assistant. While a message is being made, and when
/// its turns are added, the memory may read the assistant's properties and update them ("db_structure" and
/// "combined_instructions" ask the memory again): what it sets before it has handed out the turns counts for this
/// message. It must not send a message, ask for models, set another memory or free the assistant. What an
/// implementation throws leaves the operation that called it; thrown before a message has been sent, it keeps the
/// message from being sent and remembered.
class IZEAAssistantMemory : public IZEAObject {
 public:
  /// Replaces the structure document. Called when "db_structure" is set. The text may be empty.
  virtual void setStructureDocument(const std::string& document) = 0;

  /// A copy of the document; empty when none was set. Called each time that the structure is needed.
  virtual std::string obtainStructureDocument() const = 0;

  /// Appends a turn. Called twice after each answered message, for the user's text and for the reply's, which may be
  /// empty; never for a message that failed. When the second call throws, the first turn stays: an implementation that
  /// can fail keeps a user's turn aside until the reply's has come.
  virtual void addEntry(std::int32_t role, const std::string& text) = 0;

  /// The turns to send with the next message, oldest first. The library passes 20 and sends all that it gets: an
  /// implementation may read the limit as the number of latest turns, or not at all, as the library's own does.
  virtual std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t limit) const = 0;
};
