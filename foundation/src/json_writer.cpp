// SPDX-License-Identifier: Apache-2.0
#include "json_writer.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace qx {

namespace {

// Few documents are deeper.
constexpr std::size_t kUsualDepth = 8;

constexpr bool mustBeEscaped(char c) noexcept { return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\'; }

// Texts are looked through a block at a time: prompts are long, and have little that must be escaped.
#ifdef __SSE2__

constexpr std::size_t kBlockSize = 16;

/// How many of the block's characters stand before the first one that must be escaped.
std::size_t countPlain(const char* characters) noexcept {
  const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(characters));
  const __m128i isControl = _mm_cmpeq_epi8(_mm_min_epu8(block, _mm_set1_epi8(0x1F)), block);
  const __m128i isQuotation = _mm_cmpeq_epi8(block, _mm_set1_epi8('"'));
  const __m128i isBackslash = _mm_cmpeq_epi8(block, _mm_set1_epi8('\\'));
  const int found = _mm_movemask_epi8(_mm_or_si128(isControl, _mm_or_si128(isQuotation, isBackslash)));
  return static_cast<std::size_t>(std::countr_zero(static_cast<std::uint32_t>(found) | 0x10000U));
}

#else

constexpr std::size_t kBlockSize = 8;

std::size_t countPlain(const char* characters) noexcept {
  return static_cast<std::size_t>(std::find_if(characters, characters + kBlockSize, mustBeEscaped) - characters);
}

#endif

/// Copies up to the first character that must be escaped, `size` characters at most. Returns how many it has copied;
/// some of what follows may have been written after them.
std::size_t copyPlain(const char* from, char* to, std::size_t size) noexcept {
  std::size_t copied = 0;
  while (size - copied >= kBlockSize) {
    std::memcpy(to + copied, from + copied, kBlockSize);
    const std::size_t plain = countPlain(from + copied);
    if (plain < kBlockSize) return copied + plain;
    copied += kBlockSize;  // a constant, so that the next block doesn't wait for the count
  }
  for (; copied < size && !mustBeEscaped(from[copied]); ++copied) to[copied] = from[copied];
  return copied;
}

/// Collects small pieces, since appending each to the text costs more than making it.
class Output {
 public:
  explicit Output(std::string& text) : text_(text) {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void flush() {
    text_.append(buffer_.data(), used_);
    used_ = 0;
  }

  void put(char c) {
    makeRoom(1);
    buffer_[used_++] = c;
  }

  void put(std::string_view piece) {
    for (const char c : piece) put(c);
  }

  template <typename Number>
  void putNumber(Number value) {
    makeRoom(kLongestNumber);
    char* begin = buffer_.data() + used_;
    char* end = std::to_chars(begin, begin + kLongestNumber, value).ptr;
    used_ += static_cast<std::size_t>(end - begin);
  }

  /// Leaves it recognisable as floating point.
  void putDouble(double value) {
    makeRoom(kLongestNumber + 2);
    const std::size_t begin = used_;
    putNumber(value);
    if (std::string_view(buffer_.data() + begin, used_ - begin).find_first_of(".e") == std::string_view::npos)
      put(".0");
  }

  void putString(std::string_view value) {
    put('"');
    putCharacters(value);
    put('"');
  }

 private:
  static constexpr std::size_t kLongestNumber = 32;

  void putCharacters(std::string_view value) {
    while (!value.empty()) {
      makeRoom(1);
      char* const to = buffer_.data() + used_;
      const std::size_t plain = copyPlain(value.data(), to, std::min(value.size(), buffer_.size() - used_));
      used_ += plain;
      value.remove_prefix(plain);
      if (value.empty() || !mustBeEscaped(value.front())) continue;
      putEscaped(value.front());
      value.remove_prefix(1);
    }
  }

  void makeRoom(std::size_t size) {
    if (buffer_.size() - used_ < size) flush();
  }

  void putEscaped(char c) {
    constexpr std::string_view kPlain = "\"\\\n\t\r\b\f";
    constexpr std::string_view kShort = "\"\\ntrbf";
    constexpr std::string_view kHexDigits = "0123456789abcdef";
    for (std::size_t i = 0; i < kPlain.size(); ++i) {
      if (kPlain[i] != c) continue;
      makeRoom(2);
      buffer_[used_++] = '\\';
      buffer_[used_++] = kShort[i];
      return;
    }
    put("\\u00");
    const auto code = static_cast<unsigned char>(c);
    put(kHexDigits[code >> 4]);
    put(kHexDigits[code & 0xF]);
  }

  std::string& text_;
  std::array<char, 2048> buffer_;
  std::size_t used_ = 0;
};

void putScalar(const JsonNode& node, Output& output) {
  switch (node.kind) {
    case JsonKind::String:
      return output.putString(node.obtainText());
    case JsonKind::Signed:
      return output.putNumber(node.signedNumber);
    case JsonKind::Unsigned:
      return output.putNumber(node.unsignedNumber);
    case JsonKind::Boolean:
      return output.put(node.truth ? "true" : "false");
    case JsonKind::Double:
      if (std::isfinite(node.number)) return output.putDouble(node.number);
      [[fallthrough]];
    default:
      return output.put("null");
  }
}

/// A container that has been begun, and the child that comes next.
struct OpenContainer {
  const JsonNode* node;
  std::size_t next;

  bool isObject() const noexcept { return node->kind == JsonKind::Object; }
};

}  // namespace

// Without recursion: a caller can build documents of any depth.
void writeJson(const JsonNode& root, std::string& text) {
  Output output(text);
  std::vector<OpenContainer> open;
  open.reserve(kUsualDepth);
  for (const JsonNode* node = &root;;) {
    if (node->isContainer()) {
      open.push_back({node, 0});
      output.put(open.back().isObject() ? '{' : '[');
    } else {
      putScalar(*node, output);
    }
    while (!open.empty() && open.back().next == open.back().node->children.count) {
      output.put(open.back().isObject() ? '}' : ']');
      open.pop_back();
    }
    if (open.empty()) return output.flush();

    OpenContainer& container = open.back();
    if (container.next != 0) output.put(',');
    node = &JsonAccess::nodeOf(childOf(*container.node, container.next++));
    if (container.isObject()) {
      output.putString(node->obtainKey());
      output.put(':');
    }
  }
}

}  // namespace qx
