// SPDX-License-Identifier: Apache-2.0
// Where the values and texts of one JSON document live.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json_node.h"

namespace qx {

/// Owns the text that a document was parsed from, unless the document only views it, and blocks that are filled one
/// after the other. What it hands out never moves and is freed with the arena, block by block: no destructor walks the
/// tree. Serves one thread.
class JsonArena {
 public:
  struct View {
    std::string_view text;
  };

  explicit JsonArena(std::string text = {}) : text_(std::move(text)), input_(text_) {}
  explicit JsonArena(View view) : input_(view.text) {}
  JsonArena(const JsonArena&) = delete;
  JsonArena& operator=(const JsonArena&) = delete;

  /// The text to parse.
  std::string_view obtainInput() const noexcept { return input_; }
  /// The same once the arena has no more use for it.
  std::string releaseInput() { return input_.data() == text_.data() ? std::move(text_) : std::string(input_); }
  /// How many bytes of text, parsed and added, the document holds.
  std::size_t obtainTextBytes() const noexcept { return input_.size() + addedBytes_; }

  std::string_view copyText(std::string_view text);
  /// The same for a text that stays where it is.
  std::string_view viewText(std::string_view text) noexcept {
    addedBytes_ += text.size();
    return text;
  }
  /// A chunk for `capacity` children, to follow `previous`, which holds all children before it or is null.
  JsonChunk* createChunk(std::size_t capacity, JsonChunk* previous);

  /// Makes `node`, which is new, an empty object or array with room for `capacity` children.
  static void makeContainer(JsonNode& node, JsonKind kind, std::size_t capacity);

 private:
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

}  // namespace qx
