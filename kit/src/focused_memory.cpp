// SPDX-License-Identifier: Apache-2.0
#include "zeakit/focused_memory.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace zeakit {

struct FocusedMemory::State {
  IZEAAssistantMemory& memory;
  FitOptions options;
  StructureIndex index;
  bool isFocused = false;
  Fit fit;
  std::deque<std::vector<std::string>> recent;  // of the last questions, the newest first
};

namespace {

constexpr std::size_t kRememberedQuestions = 3;
constexpr std::size_t kRememberedTables = 4;  // of each question, the likeliest ones

std::vector<std::string> likeliestOf(const Fit& fit) {
  std::vector<const FittedTable*> tables;
  for (const FittedTable& table : fit.tables) {
    if (table.depth != FitDepth::Named && table.likelihood > 0.5) tables.push_back(&table);
  }
  std::stable_sort(tables.begin(), tables.end(),
                   [](const auto* a, const auto* b) { return a->likelihood > b->likelihood; });
  if (tables.size() > kRememberedTables) tables.resize(kRememberedTables);
  std::vector<std::string> names;
  names.reserve(tables.size());
  for (const FittedTable* const table : tables) names.push_back(table->name);
  return names;
}

}  // namespace

FocusedMemory::FocusedMemory(IZEAAssistantMemory& memory, FitOptions options)
    : state_(new State{memory, std::move(options), StructureIndex(memory.obtainStructureDocument()), false, {}, {}}) {}
FocusedMemory::~FocusedMemory() = default;

const Fit& FocusedMemory::focus(std::string_view question) {
  FitOptions options = state_->options;
  for (const auto& names : state_->recent) options.recent.insert(options.recent.end(), names.begin(), names.end());
  state_->fit = state_->index.fit(question, options);
  state_->isFocused = true;
  state_->recent.push_front(likeliestOf(state_->fit));
  if (state_->recent.size() > kRememberedQuestions) state_->recent.pop_back();
  return state_->fit;
}

void FocusedMemory::unfocus() {
  state_->isFocused = false;
  state_->recent.clear();
}

void FocusedMemory::refresh() {
  state_->index = StructureIndex(state_->memory.obtainStructureDocument());
  unfocus();
}

void FocusedMemory::setOptions(FitOptions options) { state_->options = std::move(options); }

void FocusedMemory::setStructureDocument(const std::string& document) {
  state_->memory.setStructureDocument(document);
  refresh();
}

std::string FocusedMemory::obtainStructureDocument() const {
  return state_->isFocused ? state_->fit.document : state_->memory.obtainStructureDocument();
}

void FocusedMemory::addEntry(std::int32_t role, const std::string& text) { state_->memory.addEntry(role, text); }

std::vector<ZEAAssistantMemoryEntry> FocusedMemory::obtainEntries(std::int32_t limit) const {
  return state_->memory.obtainEntries(limit);
}

}  // namespace zeakit
