// SPDX-License-Identifier: Apache-2.0
#include "zeakit/window_memory.h"

#include <cstdint>
#include <iterator>
#include <limits>

#include "statement_words.h"
#include "zeakit/token_estimate.h"

namespace zeakit {

namespace {

using Entries = std::vector<ZEAAssistantMemoryEntry>;

// What a provider's format adds to the text of a turn.
constexpr std::size_t kTokensOfFrame = 4;

/// From `begin` to `end` in the turns of the memory.
struct Pair {
  std::size_t begin;
  std::size_t end;
};

/// What belongs together, in order. Only the last one may be without an answer.
std::vector<Pair> pairsOf(const Entries& entries, bool leavesOutBlankAnswers) {
  std::vector<Pair> pairs;
  std::size_t begin = 0;
  for (std::size_t at = 0; at < entries.size(); ++at) {
    if (entries[at].role != ZEARoleAssistant) continue;
    const bool isAsked = at > begin;
    if (isAsked && !(leavesOutBlankAnswers && isBlank(entries[at].text))) pairs.push_back({begin, at + 1});
    begin = at + 1;
  }
  if (begin < entries.size()) pairs.push_back({begin, entries.size()});
  return pairs;
}

}  // namespace

WindowMemory::WindowMemory(IZEAAssistantMemory& memory, WindowOptions options) : memory_(memory), options_(options) {}

void WindowMemory::setOptions(WindowOptions options) { options_ = options; }

void WindowMemory::setStructureDocument(const std::string& document) { memory_.setStructureDocument(document); }

std::string WindowMemory::obtainStructureDocument() const { return memory_.obtainStructureDocument(); }

void WindowMemory::addEntry(std::int32_t role, const std::string& text) { memory_.addEntry(role, text); }

std::vector<ZEAAssistantMemoryEntry> WindowMemory::obtainEntries(std::int32_t limit) const {
  Entries entries = memory_.obtainEntries(std::numeric_limits<std::int32_t>::max());
  const std::vector<Pair> pairs = pairsOf(entries, options_.leavesOutBlankAnswers);
  const bool hasTurnLimit = options_.pairs == 0 && options_.tokens == 0 && limit > 0;
  std::size_t first = pairs.size();
  std::size_t tokens = 0;
  std::size_t turns = 0;
  while (first > 0) {
    const Pair& pair = pairs[first - 1];
    turns += pair.end - pair.begin;
    for (std::size_t at = pair.begin; at < pair.end && options_.tokens > 0; ++at) {
      tokens += estimateTokens(entries[at].text) + kTokensOfFrame;
    }
    if (options_.pairs > 0 && pairs.size() - first >= options_.pairs) break;
    if (options_.tokens > 0 && tokens > options_.tokens) break;
    if (hasTurnLimit && turns > static_cast<std::size_t>(limit)) break;
    --first;
  }
  Entries kept;
  for (; first < pairs.size(); ++first) {
    const auto from = entries.begin();
    kept.insert(kept.end(), std::make_move_iterator(from + static_cast<std::ptrdiff_t>(pairs[first].begin)),
                std::make_move_iterator(from + static_cast<std::ptrdiff_t>(pairs[first].end)));
  }
  return kept;
}

}  // namespace zeakit
