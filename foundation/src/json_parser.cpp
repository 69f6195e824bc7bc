// SPDX-License-Identifier: Apache-2.0
#include "json_parser.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "number_text.h"

// A host may hold any release of Boost, linked statically or shared, in the same process. So everything of it gets a
// namespace of its own here, with all that Boost.JSON rests on: what is inline would otherwise be merged across
// releases. And what Boost declares visible is hidden. src.hpp is the library's own way to be compiled in one source;
// what of it nobody calls goes when the linker collects sections.
#define boost qx_private_boost
#define BOOST_NO_USER_CONFIG  // its path is a macro, in which the name would be replaced
#include <boost/config.hpp>
#undef BOOST_SYMBOL_VISIBLE
#define BOOST_SYMBOL_VISIBLE
#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/src.hpp>

namespace qx {

namespace {

// The parser calls itself once a level: with its limit of 512 no text can exhaust the stack of a thread.
constexpr std::size_t kMaxDepth = 512;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Values that wait for the end of their container: a stack in blocks. It doesn't move when it grows, and an emptied
/// block is given back, so that values are hardly ever held twice, here and in the arena.
class WaitingValues {
 public:
  WaitingValues() { use(first_.data(), kFirstSize); }
  WaitingValues(const WaitingValues&) = delete;
  WaitingValues& operator=(const WaitingValues&) = delete;

  bool isFull() const noexcept { return top_ == end_; }
  std::size_t obtainCount() const noexcept { return countBelow_ + static_cast<std::size_t>(top_ - begin_); }
  JsonNode& back() const noexcept { return top_[-1]; }

  /// Makes room when the stack is full.
  void grow() {
    countBelow_ += static_cast<std::size_t>(end_ - begin_);
    const std::size_t size = std::min(static_cast<std::size_t>(end_ - begin_) * 4, kLargestSize);
    below_.push_back({begin_, end_});
    if (spare_ == nullptr) spare_ = std::make_unique_for_overwrite<std::byte[]>(size * sizeof(JsonNode));
    blocks_.push_back(std::move(spare_));
    use(blocks_.back().get(), size);
  }

  /// REQUIRES: not full.
  void push(JsonKind kind, std::string_view key) noexcept { ::new (static_cast<void*>(top_++)) JsonNode(kind, key); }

  /// Moves the last values into the chunk. The root stays, so there is always one left.
  void moveLast(std::size_t count, JsonChunk& chunk) noexcept {
    if (count >= static_cast<std::size_t>(top_ - begin_)) [[unlikely]]
      return moveFromBlocks(count, chunk);
    top_ -= count;
    for (std::size_t i = 0; i < count; ++i) chunk.place(i, top_[i]);
  }

 private:
  static constexpr std::size_t kFirstSize = 32;
  static constexpr std::size_t kLargestSize = 2048;  // 64 kB, which the C library still serves from its heap
  struct Range {
    JsonNode* begin;
    JsonNode* end;
  };

  [[gnu::noinline]] void moveFromBlocks(std::size_t count, JsonChunk& chunk) noexcept {
    while (count > 0) {
      const std::size_t piece = std::min(count, static_cast<std::size_t>(top_ - begin_));
      top_ -= piece;
      count -= piece;
      for (std::size_t i = 0; i < piece; ++i) chunk.place(count + i, top_[i]);
      if (top_ == begin_) leaveBlock();
    }
  }

  void use(std::byte* place, std::size_t size) noexcept {
    begin_ = reinterpret_cast<JsonNode*>(place);
    top_ = begin_;
    end_ = begin_ + size;
  }

  // All blocks below the last one are full. The one that was left is kept for the next growth, which is of its size.
  void leaveBlock() noexcept {
    spare_ = std::move(blocks_.back());
    blocks_.pop_back();
    begin_ = below_.back().begin;
    end_ = below_.back().end;
    top_ = end_;
    below_.pop_back();
    countBelow_ -= static_cast<std::size_t>(end_ - begin_);
  }

  alignas(JsonNode) std::array<std::byte, kFirstSize * sizeof(JsonNode)> first_;
  std::vector<std::unique_ptr<std::byte[]>> blocks_;  // after the first one
  std::unique_ptr<std::byte[]> spare_;
  std::vector<Range> below_;  // the blocks below the last one
  std::size_t countBelow_ = 0;
  JsonNode* begin_ = nullptr;
  JsonNode* top_ = nullptr;
  JsonNode* end_ = nullptr;
};

/// Called by the parser in the order of the text. Values wait on a stack until their container ends: then its size is
/// known, and they move into one chunk of exactly that size.
class TreeHandler {
 public:
  using ErrorCode = boost::system::error_code;
  using Text = boost::json::string_view;

  static constexpr std::size_t max_array_size = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t max_object_size = max_array_size;
  static constexpr std::size_t max_string_size = max_array_size;
  static constexpr std::size_t max_key_size = max_array_size;

  TreeHandler(JsonArena& arena, std::string_view input, std::uint64_t mostBytes)
      : arena_(arena), input_(input), mostBytes_(mostBytes) {}

  /// Of a text that has been parsed whole.
  const JsonNode& obtainRoot() const noexcept { return waiting_.back(); }
  bool isTooLarge() const noexcept { return isTooLarge_; }

  bool on_document_begin(ErrorCode&) { return true; }
  bool on_document_end(ErrorCode&) { return true; }
  bool on_object_begin(ErrorCode& error) { return push(JsonKind::Object, error); }
  bool on_object_end(std::size_t count, ErrorCode& error) { return closeContainer(count, error); }
  bool on_array_begin(ErrorCode& error) { return push(JsonKind::Array, error); }
  bool on_array_end(std::size_t count, ErrorCode& error) { return closeContainer(count, error); }

  bool on_key_part(Text part, std::size_t, ErrorCode&) { return keepPart(part); }
  bool on_key(Text last, std::size_t, ErrorCode&) {
    key_ = finishText(last);
    return true;
  }
  bool on_string_part(Text part, std::size_t, ErrorCode&) { return keepPart(part); }
  bool on_string(Text last, std::size_t, ErrorCode& error) {
    const std::string_view text = finishText(last);
    if (!push(JsonKind::String, error)) return false;
    waiting_.back().text = {text.data(), text.size()};
    return true;
  }

  bool on_number_part(Text, ErrorCode&) { return true; }
  bool on_int64(std::int64_t value, Text, ErrorCode& error) {
    if (!push(JsonKind::Signed, error)) return false;
    waiting_.back().signedNumber = value;
    return true;
  }
  bool on_uint64(std::uint64_t value, Text, ErrorCode& error) {
    if (!push(JsonKind::Unsigned, error)) return false;
    waiting_.back().unsignedNumber = value;
    return true;
  }
  // The parser's own conversion is off by a bit for three numbers in ten.
  bool on_double(double, Text text, ErrorCode& error) {
    if (!push(JsonKind::Double, error)) return false;
    waiting_.back().number = readDouble({text.data(), text.size()});
    return true;
  }
  bool on_bool(bool value, ErrorCode& error) {
    if (!push(JsonKind::Boolean, error)) return false;
    waiting_.back().truth = value;
    return true;
  }
  bool on_null(ErrorCode& error) { return push(JsonKind::Null, error); }

  bool on_comment_part(Text, ErrorCode&) { return true; }
  bool on_comment(Text, ErrorCode&) { return true; }

 private:
  bool push(JsonKind kind, ErrorCode& error) {
    if (waiting_.isFull() && !makeRoom(error)) [[unlikely]]
      return false;
    waiting_.push(kind, key_);
    key_ = {};
    return true;
  }

  [[gnu::noinline]] bool makeRoom(ErrorCode& error) {
    if (!count(waiting_.obtainCount() - 1, error)) return false;  // all but the root
    waiting_.grow();
    return true;
  }

  bool closeContainer(std::size_t size, ErrorCode& error) {
    if (!count(size, error)) return false;
    JsonChunk* chunk = arena_.createChunk(size, nullptr);
    arenaBytes_ += sizeof(JsonChunk) + size * sizeof(JsonNode);
    waiting_.moveLast(size, *chunk);
    waiting_.back().children = {chunk, size};
    return true;
  }

  /// Whether that many waiting values may still come into the arena; each will.
  bool count(std::size_t values, ErrorCode& error) {
    if (arenaBytes_ + sizeof(JsonChunk) + values * sizeof(JsonNode) <= mostBytes_) return true;
    isTooLarge_ = true;
    error = boost::json::error::array_too_large;
    return false;
  }

  bool keepPart(Text part) {
    parts_.append(part.data(), part.size());
    return true;
  }

  bool isPartOfInput(const char* place) const noexcept {
    return std::less_equal<>()(input_.data(), place) && std::less<>()(place, input_.data() + input_.size());
  }

  // A text with escapes arrives in parts that the parser unescaped into a buffer of its own.
  std::string_view finishText(Text last) {
    if (parts_.empty() && isPartOfInput(last.data())) return {last.data(), last.size()};
    parts_.append(last.data(), last.size());
    const std::string_view text = arena_.copyText(parts_);
    parts_.clear();
    return text;
  }

  JsonArena& arena_;
  std::string_view input_;
  std::uint64_t mostBytes_;
  std::uint64_t arenaBytes_ = 0;  // what the values in the arena take
  bool isTooLarge_ = false;
  WaitingValues waiting_;  // first the root, then open containers, each followed by its children so far
  std::string_view key_;
  std::string parts_;
};

/// The code unit of a "\uxxxx" escape at `position`, or 0 when none stands there.
std::uint32_t readEscape(std::string_view text, std::size_t position) {
  if (text.substr(position, 2) != "\\u" || text.size() - position < 6) return 0;
  return qx::readHex(text.substr(position + 2, 4)).value_or(0);
}

constexpr bool isHighSurrogate(std::uint32_t unit) noexcept { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool isLowSurrogate(std::uint32_t unit) noexcept { return unit >= 0xDC00 && unit <= 0xDFFF; }

// Models cut texts inside a surrogate pair.
bool repairSurrogates(std::string& text) {
  bool isRepaired = false;
  for (std::size_t i = text.find('\\'); i != std::string::npos; i = text.find('\\', i)) {
    const std::uint32_t unit = readEscape(text, i);
    if (isHighSurrogate(unit) && isLowSurrogate(readEscape(text, i + 6))) {
      i += 12;
    } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
      text.replace(i, 6, "\\ufffd");
      isRepaired = true;
      i += 6;
    } else {
      i += 2;  // also over an escaped backslash, whose second half begins nothing
    }
  }
  return isRepaired;
}

/// The position after the string whose opening quotation mark stands at `position`.
std::size_t skipString(std::string_view text, std::size_t position) {
  do {
    position = text.find_first_of("\"\\", position + 1);
    if (position == std::string_view::npos) return position;
  } while (text[position] == '\\' && ++position < text.size());
  return position + 1;
}

// The parser refuses exponents that 32 bits don't hold. One of nine digits is beyond a double's range as well, and
// with zeros in front of it the text keeps its length.
bool repairExponents(std::string& text) {
  constexpr std::size_t kKeptDigits = 9;
  bool isRepaired = false;
  for (std::size_t i = text.find_first_of("\"eE"); i < text.size(); i = text.find_first_of("\"eE", i)) {
    if (text[i] == '"') {
      i = skipString(text, i);
      continue;
    }
    if (++i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    const std::size_t begin = i;
    i = std::min(text.find_first_not_of("0123456789", i), text.size());
    if (i - begin <= kKeptDigits || text.find_first_not_of('0', begin) >= i - kKeptDigits) continue;
    text.replace(begin, i - begin - kKeptDigits, i - begin - kKeptDigits, '0');
    text.replace(i - kKeptDigits, kKeptDigits, kKeptDigits, '9');
    isRepaired = true;
  }
  return isRepaired;
}

}  // namespace

JsonResult parseJson(JsonArena& arena, JsonNode& root, std::uint64_t mostValueBytes) {
  std::string_view input = arena.obtainInput();
  if (input.starts_with(kByteOrderMark)) input.remove_prefix(kByteOrderMark.size());

  boost::json::parse_options options;
  options.max_depth = kMaxDepth;
  options.allow_invalid_utf8 = true;  // strings are bytes
  boost::json::basic_parser<TreeHandler> parser(options, arena, input, mostValueBytes);
  boost::system::error_code error;
  // The whole text in one piece: what the handler gets are then views of it.
  const std::size_t parsed = parser.write_some(false, input.data(), input.size(), error);
  if (parser.handler().isTooLarge()) return JsonResult::TooLarge;
  if (error || parsed != input.size()) return JsonResult::NotJson;
  root = parser.handler().obtainRoot();
  return JsonResult::Parsed;
}

bool repairJson(std::string& text) {
  const bool hasSurrogates = repairSurrogates(text);
  return repairExponents(text) || hasSurrogates;
}

}  // namespace qx
