// SPDX-License-Identifier: Apache-2.0
// A memory whose structure fits the question.
#pragma once

#include <zea/izea_assistant_memory.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zeakit/export.h"
#include "zeakit/structure_index.h"

namespace zeakit {

/// Wraps a host's memory and hands out, in place of its structure document, what the announced question needs of it.
/// Everything else is passed on. As every memory it serves the thread that uses its assistant.
///
///   zeakit::FocusedMemory memory(hostMemory, {.budget = 8000});
///   assistant->setMemory(&memory);
///   memory.focus(question);
///   auto [reply, failure] = assistant->addMessage(question);
class ZEAKIT_API FocusedMemory final : public IZEAAssistantMemory {
 public:
  /// The memory stays the caller's and outlives this object. The index is made here, of its document.
  explicit FocusedMemory(IZEAAssistantMemory& memory, FitOptions options = {});
  ~FocusedMemory() override;

  /// Fits the structure to a question, which is the one that is sent next. The tables that the last three questions
  /// were about stay as long as there is room. Until the first call the whole document is handed out.
  const Fit& focus(std::string_view question);
  /// Hands out the whole document again, and forgets what the last questions were about.
  void unfocus();

  /// To be called when the wrapped memory has a new document that did not come through this object.
  void refresh();
  void setOptions(FitOptions options);

  void setStructureDocument(const std::string& document) override;
  std::string obtainStructureDocument() const override;
  void addEntry(std::int32_t role, const std::string& text) override;
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t limit) const override;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace zeakit
