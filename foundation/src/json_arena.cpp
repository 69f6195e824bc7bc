// SPDX-License-Identifier: Apache-2.0
#include "json_arena.h"

#include <algorithm>
#include <cstring>

namespace qx {

namespace {

// Blocks grow to one that the C library still serves from its heap: larger ones are mapped and unmapped each time,
// which costs more than the parsing of what they hold.
constexpr std::size_t kSecondBlockSize = 2048;
constexpr std::size_t kLargestBlockSize = 64 * 1024;

}  // namespace

std::byte* JsonArena::addBlock(std::size_t size) {
  blocks_.push_back(std::make_unique_for_overwrite<std::byte[]>(size));
  return blocks_.back().get();
}

std::byte* JsonArena::allocate(std::size_t size, std::size_t alignment) {
  const std::size_t offset = (used_ + alignment - 1) & ~(alignment - 1);
  if (offset <= blockSize_ && size <= blockSize_ - offset) {
    used_ = offset + size;
    return block_ + offset;
  }
  const std::size_t nextSize = std::clamp(blockSize_ * 2, kSecondBlockSize, kLargestBlockSize);
  // Something large gets a block of its own, so that the rest of the current one isn't lost.
  if (size > nextSize / 4) return addBlock(size);
  block_ = addBlock(nextSize);
  blockSize_ = nextSize;
  used_ = size;
  return block_;
}

std::string_view JsonArena::copyText(std::string_view text) {
  if (text.empty()) return {};
  std::byte* place = allocate(text.size(), 1);
  std::memcpy(place, text.data(), text.size());
  addedBytes_ += text.size();
  return {reinterpret_cast<const char*>(place), text.size()};
}

JsonChunk* JsonArena::createChunk(std::size_t capacity, JsonChunk* previous) {
  static_assert(sizeof(COJsonValue) == 32 && alignof(COJsonValue) >= alignof(JsonChunk));
  static_assert(sizeof(JsonChunk) % alignof(COJsonValue) == 0);
  std::byte* place = allocate(sizeof(JsonChunk) + capacity * sizeof(COJsonValue), alignof(COJsonValue));
  const std::size_t before = previous == nullptr ? 0 : previous->before + previous->capacity;
  return ::new (static_cast<void*>(place)) JsonChunk{this, previous, before, capacity};
}

void JsonArena::makeContainer(JsonNode& node, JsonKind kind, std::size_t capacity) {
  JsonChunk* chunk = node.arena->createChunk(capacity, nullptr);
  node.kind = kind;
  node.children = {chunk, 0};
}

}  // namespace qx
