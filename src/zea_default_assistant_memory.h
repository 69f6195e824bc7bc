// SPDX-License-Identifier: Apache-2.0
// The library's own memory, used when the host passes none, and how the library reads any memory.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "zea/izea_assistant_memory.h"

/// Keeps everything in the process, for as long as it lives: nothing shortens it, and the limit is not read, so a
/// conversation of any length is sent whole.
class ZEADefaultAssistantMemory final : public IZEAAssistantMemory {
 public:
  void setStructureDocument(const std::string& document) override { structureDocument = document; }
  std::string obtainStructureDocument() const override { return structureDocument; }
  /// A reply that can't be kept takes its question along: what is remembered are whole turns.
  void addEntry(std::int32_t role, const std::string& text) override;
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t /*limit*/) const override { return entries; }

  std::string structureDocument;
  std::vector<ZEAAssistantMemoryEntry> entries;
};

namespace zea {

/// What a memory has handed out. Documents are long and conversations grow, so what lies in the library's own memory is
/// viewed where it is, until that memory changes; a host's memory hands out a copy, which is kept here.
template <class Value>
class Remembered {
 public:
  explicit Remembered(const Value* viewed) : value_(viewed) {}
  explicit Remembered(Value copy) : value_(std::move(copy)) {}

  const Value& obtain() const& noexcept {
    const Value* const* const viewed = std::get_if<const Value*>(&value_);
    return viewed != nullptr ? **viewed : *std::get_if<Value>(&value_);
  }
  const Value& obtain() const&& = delete;

 private:
  std::variant<const Value*, Value> value_;
};

using RememberedText = Remembered<std::string>;
using RememberedTurns = Remembered<std::vector<ZEAAssistantMemoryEntry>>;

/// The structure document of any memory.
RememberedText readStructureDocument(const IZEAAssistantMemory& memory);
/// The turns of any memory, oldest first; `limit` is passed on to a host's.
RememberedTurns readTurns(const IZEAAssistantMemory& memory, std::int32_t limit);

}  // namespace zea
