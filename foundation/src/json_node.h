// SPDX-License-Identifier: Apache-2.0
// What a JSON value is made of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "qx/json.h"

namespace qx {

// The first ones have the numbers of `COJsonValueType`. It is as wide as the size that it shares a word with:
// Microsoft's layout joins only bit fields of one width.
enum class JsonKind : std::uint64_t {
  Null,
  Object,
  Array,
  String,
  Signed,
  Double,
  Boolean,
  Unsigned,
  New,
  Invalid,
  TooLarge  // invalid too: given up for the memory that the values would take
};

struct JsonChunk;

/// The name and the content of a value. Names and strings are views of what the document holds.
struct JsonNode {
  struct Text {
    const char* begin;
    std::size_t size;
  };
  struct Children {
    JsonChunk* last;  // never null
    std::size_t count;
  };

  const char* keyBegin;
  std::uint64_t keySize : 56;
  JsonKind kind : 8;
  union {
    JsonArena* arena;  // of a new value, which may need it for its content
    Children children;
    Text text;
    std::int64_t signedNumber;
    std::uint64_t unsignedNumber;
    double number;
    bool truth;
  };

  explicit JsonNode(JsonKind initialKind = JsonKind::New, std::string_view key = {}) noexcept
      : keyBegin(key.data()), keySize(key.size() & ((std::uint64_t{1} << 56) - 1)), kind(initialKind), arena(nullptr) {}

  bool isContainer() const noexcept { return kind == JsonKind::Object || kind == JsonKind::Array; }
  bool isEmptyObject() const noexcept { return kind == JsonKind::Object && children.count == 0; }
  std::string_view obtainKey() const noexcept { return {keyBegin, static_cast<std::size_t>(keySize)}; }
  std::string_view obtainText() const noexcept { return {text.begin, text.size}; }
  void setText(std::string_view value) noexcept {
    kind = JsonKind::String;
    text = {value.data(), value.size()};
  }
};

/// The way from values, as callers know them, to their nodes.
struct JsonAccess {
  static JsonNode& nodeOf(COJsonValue& value) noexcept {
    return *std::launder(reinterpret_cast<JsonNode*>(value.node_));
  }
  static const JsonNode& nodeOf(const COJsonValue& value) noexcept {
    return *std::launder(reinterpret_cast<const JsonNode*>(value.node_));
  }
  /// A value of that content at `place`, which has room for one.
  static COJsonValue* construct(void* place, const JsonNode& node) noexcept {
    auto* const value = ::new (place) COJsonValue;
    ::new (value->node_) JsonNode(node);
    return value;
  }
  /// Parses the text that the arena views; see `parseJson` for the limit.
  static COJson parse(std::unique_ptr<JsonArena> arena, std::uint64_t mostValueBytes);
};

/// A run of children; their values follow it in memory. A parsed container has one chunk of exactly its size. Each
/// chunk that is added has room for as many as there are before it, so half of all children are in the last one:
/// looking from the back finds any child in two steps on average and in log n at worst.
struct JsonChunk {
  JsonArena* arena;
  JsonChunk* previous;
  std::size_t before;  // how many children the chunks before hold
  std::size_t capacity;

  COJsonValue* values() noexcept { return reinterpret_cast<COJsonValue*>(this + 1); }
  COJsonValue* place(std::size_t position, const JsonNode& node) noexcept {
    return JsonAccess::construct(values() + position, node);
  }
};

/// The child at `index`, which must be less than the number of children.
inline const COJsonValue& childOf(const JsonNode& container, std::size_t index) noexcept {
  JsonChunk* chunk = container.children.last;
  while (index < chunk->before) chunk = chunk->previous;
  return chunk->values()[index - chunk->before];
}

}  // namespace qx
