// Where the values and texts of one JSON document live.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qx/json.h"

/// Owns the text that a document was parsed from and blocks that are filled one behind the other. What it gives
/// out never moves and is freed with the arena, block by block: no destructor walks the tree. Serves one thread.
class COJsonArena {
 public:
  using Node = COJsonValue::Node;
  using Kind = COJsonValue::Kind;
  using Chunk = COJsonValue::Chunk;

  explicit COJsonArena(std::string text = {}) : text_(std::move(text)) {}
  COJsonArena(const COJsonArena&) = delete;
  COJsonArena& operator=(const COJsonArena&) = delete;

  const std::string& obtainText() const noexcept { return text_; }
  std::string releaseText() noexcept { return std::move(text_); }
  /// How many bytes of text, parsed and copied, the document holds.
  std::size_t obtainTextBytes() const noexcept { return text_.size() + copiedBytes_; }

  std::string_view copyText(std::string_view text);
  /// A chunk for `capacity` children, to stand behind `previous`, which holds all children before it or is null.
  Chunk* createChunk(std::size_t capacity, Chunk* previous);

  /// Makes `node`, which is new, an empty object or array with room for `capacity` children.
  static void makeContainer(Node& node, Kind kind, std::size_t capacity);

  static Node& nodeOf(COJsonValue& value) noexcept { return value.node_; }
  static const Node& nodeOf(const COJsonValue& value) noexcept { return value.node_; }
  /// The child at `index`, which must be less than the number of children.
  static inline const COJsonValue& childOf(const Node& container, std::size_t index) noexcept;

  static bool isContainer(const Node& node) noexcept { return node.kind == Kind::Object || node.kind == Kind::Array; }
  static std::string_view keyOf(const Node& node) noexcept { return {node.keyBegin, node.keySize}; }
  static std::string_view textOf(const Node& node) noexcept { return {node.text.begin, node.text.size}; }
  static void setText(Node& node, std::string_view text) noexcept {
    node.kind = Kind::String;
    node.text = {text.data(), text.size()};
  }

 private:
  std::byte* allocate(std::size_t size, std::size_t alignment);
  std::byte* addBlock(std::size_t size);

  std::string text_;
  std::vector<std::unique_ptr<std::byte[]>> blocks_;
  std::byte* block_ = nullptr;  // the block that is being filled
  std::size_t blockSize_ = 0;
  std::size_t used_ = 0;
  std::size_t copiedBytes_ = 0;
};

/// A run of children; their values follow it in memory. A parsed container has one chunk of exactly its size. Each
/// chunk that is added has room for as many as there are before it, so half of all children are in the last one:
/// looking from the back finds any child in two steps on average and in log n at worst.
struct COJsonValue::Chunk {
  COJsonArena* arena;
  Chunk* previous;
  std::size_t before;  // how many children the chunks before hold
  std::size_t capacity;

  COJsonValue* values() noexcept { return reinterpret_cast<COJsonValue*>(this + 1); }
  COJsonValue* place(std::size_t position, const Node& node) noexcept {
    return ::new (static_cast<void*>(values() + position)) COJsonValue(node);
  }
};

const COJsonValue& COJsonArena::childOf(const Node& container, std::size_t index) noexcept {
  Chunk* chunk = container.children.last;
  while (index < chunk->before) chunk = chunk->previous;
  return chunk->values()[index - chunk->before];
}
