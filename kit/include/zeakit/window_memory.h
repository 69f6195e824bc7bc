// SPDX-License-Identifier: Apache-2.0
// A memory that sends the latest turns.
#pragma once

#include <zea/izea_assistant_memory.h>

#include <cstddef>
#include <string>
#include <vector>

#include "zeakit/export.h"

namespace zeakit {

struct WindowOptions {
  /// How many questions with their answers go along with the next one; 0: all.
  std::size_t pairs = 0;
  /// What they may take, as `estimateTokens` tells; 0: no limit.
  std::size_t tokens = 0;
  /// Leaves out questions whose answer was blank: some providers refuse every question that follows on one.
  bool leavesOutBlankAnswers = true;
};

/// Wraps a host's memory and hands out its latest turns, always a question with its answer: the longest run of whole
/// pairs up to the end that keeps to the options, or none. Everything else is passed on, and nothing is removed from
/// the wrapped memory. As every memory it serves the thread that uses its assistant.
///
/// A pair is a turn of the assistant with the turns of others ahead of it. An assistant's turn that nothing precedes
/// belongs to no pair and is left out; turns that wait for an answer at the end are kept.
class ZEAKIT_API WindowMemory final : public IZEAAssistantMemory {
 public:
  /// The memory stays the caller's and outlives this object.
  explicit WindowMemory(IZEAAssistantMemory& memory, WindowOptions options = {});

  void setOptions(WindowOptions options);

  void setStructureDocument(const std::string& document) override;
  std::string obtainStructureDocument() const override;
  void addEntry(std::int32_t role, const std::string& text) override;
  /// Asks the wrapped memory for everything that it keeps; the limit counts for the turns that are handed out, where it
  /// is above 0 and the options name no number of pairs.
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t limit) const override;

 private:
  IZEAAssistantMemory& memory_;
  WindowOptions options_;
};

}  // namespace zeakit
