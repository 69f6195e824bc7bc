// SPDX-License-Identifier: Apache-2.0
// What a question weighs before it is sent, by parts.
#pragma once

#include <zea/izea_assistant_memory.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "zeakit/export.h"

namespace zeakit {

/// Tokens, as `estimateTokens` tells.
struct PromptAccount {
  std::size_t instructions = 0;
  std::size_t structure = 0;
  std::size_t turns = 0;
  std::size_t question = 0;

  std::size_t total() const { return instructions + structure + turns + question; }
};

/// Takes the user's instructions and the texts of the named ones, the "db_structure" document, whose statements count,
/// the turns that the memory hands out, and the question. Each turn and the question count some tokens for their role.
/// A document that cannot be read counts nothing, as the assistant sends nothing of it. For every thread.
[[nodiscard]] ZEAKIT_API PromptAccount accountPrompt(const std::vector<std::string>& instructions,
                                                     const std::string& structureDocument,
                                                     const std::vector<ZEAAssistantMemoryEntry>& turns,
                                                     std::string_view question);

}  // namespace zeakit
