// Where the values and texts of one JSON document live.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qx/json.h"

/// Owns the text that a document was parsed from, unless that is borrowed, and blocks that are filled one behind the
/// other. What it gives out never moves and is freed with the arena, block by block: no destructor walks the tree.
/// Serves one thread.
class COJsonArena {
 public:
  using Node = COJsonValue::Node;
  using Kind = COJsonValue::Kind;
  using Chunk = COJsonValue::Chunk;

  struct Borrowed {
    std::string_view text;
  };

  explicit COJsonArena(std::string text = {}) : text_(std::move(text)), input_(text_) {}
  explicit COJsonArena(Borrowed borrowed) : input_(borrowed.text) {}
  COJsonArena(const COJsonArena&) = delete;
  COJsonArena& operator=(const COJsonArena&) = delete;

  /// The text to parse.
  std::string_view obtainInput() const noexcept { return input_; }
  /// The same once the arena has no more use for it.
  std::string releaseInput() { return input_.data() == text_.data() ? std::move(text_) : std::string(input_); }
  /// How many bytes of text, parsed and added, the document holds.
  std::size_t obtainTextBytes() const noexcept { return input_.size() + addedBytes_; }

  std::string_view copyText(std::string_view text);
  /// The same for a text that stays where it is.
  std::string_view borrowText(std::string_view text) noexcept {
    addedBytes_ += text.size();
    return text;
  }
  /// Copies the views of a text in pieces, but not what they show.
  const std::string_view* borrowPieces(const std::vector<std::string_view>& pieces);
  /// A chunk for `capacity` children, to stand behind `previous`, which holds all children before it or is null.
  Chunk* createChunk(std::size_t capacity, Chunk* previous);

  /// Makes `node`, which is new, an empty object or array with room for `capacity` children.
  static void makeContainer(Node& node, Kind kind, std::size_t capacity);

  static Node& nodeOf(COJsonValue& value) noexcept { return value.node_; }
  static const Node& nodeOf(const COJsonValue& value) noexcept { return value.node_; }
  /// The child at `index`, which must be less than the number of children.
  static inline const COJsonValue& childOf(const Node& container, std::size_t index) noexcept;

  /// The first of the chunk's children with that name, or null; `end` is how many children there are up to its end.
  static inline const COJsonValue* findIn(Chunk& chunk, std::size_t end, std::string_view name) noexcept;
  /// Makes reading what lies behind an object's members cheaper, if the node is an object.
  static void fetchBeyond(const Node& node) noexcept;

  static bool isContainer(const Node& node) noexcept { return node.kind == Kind::Object || node.kind == Kind::Array; }
  static std::string_view keyOf(const Node& node) noexcept { return {node.keyBegin, node.keySize}; }
  static std::string_view textOf(const Node& node) noexcept { return {node.text.begin, node.text.size}; }
  static std::span<const std::string_view> piecesOf(const Node& node) noexcept {
    return {node.pieces.begin, node.pieces.count};
  }
  static void setText(Node& node, std::string_view text) noexcept {
    node.kind = Kind::String;
    node.text = {text.data(), text.size()};
  }

 private:
  static inline bool isSame(const char* left, const char* right, std::size_t size) noexcept;
  std::byte* allocate(std::size_t size, std::size_t alignment);
  std::byte* addBlock(std::size_t size);

  std::string text_;
  std::string_view input_;
  std::vector<std::unique_ptr<std::byte[]>> blocks_;
  // Enough for a small document. With it the arena still is one of the pieces that glibc keeps ready for each thread.
  alignas(std::max_align_t) std::array<std::byte, 912> first_;
  std::byte* block_ = first_.data();  // the block that is being filled
  std::size_t blockSize_ = first_.size();
  std::size_t used_ = 0;
  std::size_t addedBytes_ = 0;
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

// Names are short: the loop is over before a call of memcmp would have begun.
bool COJsonArena::isSame(const char* left, const char* right, std::size_t size) noexcept {
  std::uint32_t leftWord = 0;
  std::uint32_t rightWord = 0;
  for (; size >= sizeof leftWord; size -= sizeof leftWord, left += sizeof leftWord, right += sizeof leftWord) {
    std::memcpy(&leftWord, left, sizeof leftWord);
    std::memcpy(&rightWord, right, sizeof rightWord);
    if (leftWord != rightWord) return false;
  }
  for (; size > 0; --size) {
    if (*left++ != *right++) return false;
  }
  return true;
}

const COJsonValue* COJsonArena::findIn(Chunk& chunk, std::size_t end, std::string_view name) noexcept {
  const COJsonValue* child = chunk.values();
  for (const COJsonValue* const last = child + (end - chunk.before); child != last; ++child) {
    const std::string_view candidate = keyOf(child->node_);
    if (candidate.size() == name.size() && isSame(candidate.data(), name.data(), name.size())) return child;
  }
  return nullptr;
}

// Where a large document is walked, much of the time would go by waiting for memory. The members of the next items, and
// their texts, lie some way behind those of this one: they are asked for while this one is being read. Were it not
// always inlined, the compiler would leave the call out as one without effects.
[[gnu::always_inline]] inline void COJsonArena::fetchBeyond(const Node& node) noexcept {
  constexpr std::uintptr_t kLine = 64;
  constexpr std::uintptr_t kDistance = 64 * kLine;
  if (node.kind != Kind::Object || node.children.count == 0) return;
  const COJsonValue* const members = node.children.last->values();
  const auto nodes = reinterpret_cast<std::uintptr_t>(members) + kDistance;
  const auto texts = reinterpret_cast<std::uintptr_t>(members->node_.keyBegin) + kDistance;
  for (const std::uintptr_t place : {nodes, nodes + kLine, texts, texts + kLine}) {
    __builtin_prefetch(reinterpret_cast<const void*>(place));
  }
}
