// SPDX-License-Identifier: Apache-2.0
#include "zeakit/prompt_account.h"

#include "structure_model.h"
#include "zeakit/token_estimate.h"

namespace zeakit {

namespace {

constexpr std::size_t kRoleTokens = 5;  // what providers put around a turn

}  // namespace

PromptAccount accountPrompt(const std::vector<std::string>& instructions, const std::string& structureDocument,
                            const std::vector<ZEAAssistantMemoryEntry>& turns, std::string_view question) {
  PromptAccount account;
  for (const std::string& text : instructions) account.instructions += estimateTokens(text);
  std::string error;
  if (const auto model = readStructureModel(structureDocument, error)) account.structure = model->tokensOfAll();
  for (const ZEAAssistantMemoryEntry& turn : turns) account.turns += estimateTokens(turn.text) + kRoleTokens;
  account.question = estimateTokens(question) + kRoleTokens;
  return account;
}

}  // namespace zeakit
