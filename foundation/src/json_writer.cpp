#include "json_writer.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace {

using Kind = COJsonArena::Kind;
using Node = COJsonArena::Node;
using Word = std::uint64_t;

constexpr Word kEach = 0x0101010101010101;

constexpr bool mustBeEscaped(char c) noexcept { return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\'; }

/// Sets the highest bit of each byte of the result whose byte in `word`, taken as 7 bits, is less than `limit`.
constexpr Word findLess(Word word, Word limit) noexcept { return ~((word & kEach * 0x7F) + kEach * (0x80 - limit)); }

/// How many of the eight characters stand before the first one that must be escaped.
std::size_t countPlain(const char* characters) noexcept {
  Word word;
  std::memcpy(&word, characters, sizeof word);
  // The exclusive or turns the wanted character to 0. Characters above 0x7F are never escaped.
  const Word found = (findLess(word, 0x20) | findLess(word ^ kEach * '"', 1) | findLess(word ^ kEach * '\\', 1)) &
                     ~word & kEach * 0x80;
  const int zeros = std::endian::native == std::endian::little ? std::countr_zero(found) : std::countl_zero(found);
  return static_cast<std::size_t>(zeros) / 8;
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
    while (value.size() >= sizeof(Word)) {
      makeRoom(sizeof(Word));
      std::memcpy(buffer_.data() + used_, value.data(), sizeof(Word));
      const std::size_t plain = countPlain(value.data());
      used_ += plain;
      value.remove_prefix(plain);
      if (plain == sizeof(Word)) continue;
      putEscaped(value.front());
      value.remove_prefix(1);
    }
    for (const char c : value) mustBeEscaped(c) ? putEscaped(c) : put(c);
    put('"');
  }

 private:
  static constexpr std::size_t kLongestNumber = 32;

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
  std::array<char, 1024> buffer_;
  std::size_t used_ = 0;
};

void putScalar(const Node& node, Output& output) {
  switch (node.kind) {
    case Kind::String:
      return output.putString(COJsonArena::textOf(node));
    case Kind::Signed:
      return output.putNumber(node.signedNumber);
    case Kind::Unsigned:
      return output.putNumber(node.unsignedNumber);
    case Kind::Boolean:
      return output.put(node.truth ? "true" : "false");
    case Kind::Double:
      if (std::isfinite(node.number)) return output.putDouble(node.number);
      [[fallthrough]];
    default:
      return output.put("null");
  }
}

/// A container that has been begun, and the child that comes next.
struct OpenContainer {
  const Node* node;
  std::size_t next;

  bool isObject() const noexcept { return node->kind == Kind::Object; }
};

}  // namespace

// Without recursion: a caller can build documents of any depth.
void qxWriteJson(const COJsonArena::Node& root, std::string& text) {
  Output output(text);
  std::vector<OpenContainer> open;
  for (const Node* node = &root;;) {
    if (COJsonArena::isContainer(*node)) {
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
    node = &COJsonArena::nodeOf(COJsonArena::childOf(*container.node, container.next++));
    if (container.isObject()) {
      output.putString(COJsonArena::keyOf(*node));
      output.put(':');
    }
  }
}
