#include "json_parser.h"

// The parser is a template. Of the library's compiled part it needs the few functions of these .ipp files alone, and
// the library's own way to have them, boost/json/src.hpp, would bring all the rest along. They are inline, and what is
// declared visible is hidden, because a host may have another release of the same library in its process.
#include <boost/config.hpp>
#include <boost/version.hpp>
#if BOOST_VERSION / 100 != 1081
#error "The parser's inner files move from release to release: it is built with Boost 1.81"
#endif
#undef BOOST_SYMBOL_VISIBLE
#define BOOST_SYMBOL_VISIBLE
#define BOOST_JSON_DECL inline
#include <algorithm>
#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/detail/impl/default_resource.ipp>
#include <boost/json/detail/impl/stack.ipp>
#include <boost/json/impl/error.ipp>
#include <cstdint>
#include <functional>
#include <limits>
#include <string_view>
#include <vector>

#include "number_text.h"

namespace {

using Kind = COJsonArena::Kind;
using Node = COJsonArena::Node;

// The parser calls itself once a level: with its limit of 512 no text can exhaust the stack of a thread.
constexpr std::size_t kMaxDepth = 512;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Called by the parser in the order of the text. Values wait on a stack until their container ends: then its size is
/// known, and they move into one chunk of exactly that size.
class TreeHandler {
 public:
  using ErrorCode = boost::json::error_code;
  using Text = boost::json::string_view;

  static constexpr std::size_t max_array_size = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t max_object_size = max_array_size;
  static constexpr std::size_t max_string_size = max_array_size;
  static constexpr std::size_t max_key_size = max_array_size;

  TreeHandler(COJsonArena& arena, std::string_view input) : arena_(arena), input_(input) { waiting_.reserve(32); }

  const Node& obtainRoot() const noexcept { return waiting_.front(); }

  bool on_document_begin(ErrorCode&) { return true; }
  bool on_document_end(ErrorCode&) { return true; }
  bool on_object_begin(ErrorCode&) { return push(Kind::Object); }
  bool on_object_end(std::size_t count, ErrorCode&) { return closeContainer(count); }
  bool on_array_begin(ErrorCode&) { return push(Kind::Array); }
  bool on_array_end(std::size_t count, ErrorCode&) { return closeContainer(count); }

  bool on_key_part(Text part, std::size_t, ErrorCode&) { return keepPart(part); }
  bool on_key(Text last, std::size_t, ErrorCode&) {
    key_ = finishText(last);
    return true;
  }
  bool on_string_part(Text part, std::size_t, ErrorCode&) { return keepPart(part); }
  bool on_string(Text last, std::size_t, ErrorCode&) {
    const std::string_view text = finishText(last);
    push(Kind::String);
    waiting_.back().text = {text.data(), text.size()};
    return true;
  }

  bool on_number_part(Text, ErrorCode&) { return true; }
  bool on_int64(std::int64_t value, Text, ErrorCode&) {
    push(Kind::Signed);
    waiting_.back().signedNumber = value;
    return true;
  }
  bool on_uint64(std::uint64_t value, Text, ErrorCode&) {
    push(Kind::Unsigned);
    waiting_.back().unsignedNumber = value;
    return true;
  }
  // The parser's own conversion is off by a bit for three numbers in ten.
  bool on_double(double, Text text, ErrorCode&) {
    push(Kind::Double);
    waiting_.back().number = qxReadDouble({text.data(), text.size()});
    return true;
  }
  bool on_bool(bool value, ErrorCode&) {
    push(Kind::Boolean);
    waiting_.back().truth = value;
    return true;
  }
  bool on_null(ErrorCode&) { return push(Kind::Null); }

  bool on_comment_part(Text, ErrorCode&) { return true; }
  bool on_comment(Text, ErrorCode&) { return true; }

 private:
  bool push(Kind kind) {
    waiting_.emplace_back(kind, key_);
    key_ = {};
    return true;
  }

  bool closeContainer(std::size_t count) {
    const std::size_t first = waiting_.size() - count;
    COJsonArena::Chunk* chunk = arena_.createChunk(count, nullptr);
    for (std::size_t i = 0; i < count; ++i) chunk->place(i, waiting_[first + i]);
    waiting_.erase(waiting_.end() - static_cast<std::ptrdiff_t>(count), waiting_.end());
    waiting_.back().children = {chunk, count};
    return true;
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

  COJsonArena& arena_;
  std::string_view input_;
  std::vector<Node> waiting_;  // first the root, then open containers, each with its children so far behind it
  std::string_view key_;
  std::string parts_;
};

/// The code unit of a "\uxxxx" escape at `position`, or 0 when none stands there.
std::uint32_t readEscape(std::string_view text, std::size_t position) {
  if (text.substr(position, 2) != "\\u" || text.size() - position < 6) return 0;
  return qxReadHex(text.substr(position + 2, 4)).value_or(0);
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

/// The position behind the string whose opening quotation mark stands at `position`.
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

bool qxParseJson(COJsonArena& arena, COJsonArena::Node& root) {
  std::string_view input = arena.obtainInput();
  if (input.starts_with(kByteOrderMark)) input.remove_prefix(kByteOrderMark.size());

  boost::json::parse_options options;
  options.max_depth = kMaxDepth;
  options.allow_invalid_utf8 = true;  // strings are bytes
  boost::json::basic_parser<TreeHandler> parser(options, arena, input);
  boost::json::error_code error;
  // The whole text in one piece: what the handler gets are then views of it.
  const std::size_t parsed = parser.write_some(false, input.data(), input.size(), error);
  if (error || parsed != input.size()) return false;
  root = parser.handler().obtainRoot();
  return true;
}

bool qxRepairJson(std::string& text) {
  const bool hasSurrogates = repairSurrogates(text);
  return repairExponents(text) || hasSurrogates;
}
