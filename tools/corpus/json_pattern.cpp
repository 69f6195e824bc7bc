// SPDX-License-Identifier: Apache-2.0
#include "json_pattern.h"

#include <array>

namespace corpus {

namespace {

constexpr std::string_view kScalars[] = {"null", "true", "false", "0",    "-1",    "1.5",  "1e400",
                                         "-0.0", "0.1",  "1E+5",  "\"\"", "\"s\"", "1e-7", "12345678901234567890123"};
constexpr std::string_view kIntegers[] = {"0",          "1",   "-7", "1700000000", "1699999999",         "2147483648",
                                          "4294967296", "9e3", "42", "1712361441", "9223372036854775808"};
constexpr std::string_view kDates[] = {"2024-02-29T00:00:00Z",
                                       "2025-06-15T15:06:40Z",
                                       "1969-12-31T23:59:59Z",
                                       "2025-06-15",
                                       "2025-13-01T00:00:00Z",
                                       "9999-12-31T23:59:59Z",
                                       "yesterday",
                                       "2025-06-15T15:06:40Zz"};
constexpr std::string_view kEscapes[] = {"\\u00e4", "\\ud83d\\ude00", "\\ud800", "\\udc00x", "\\/", "\\u0000"};

/// An escape that JSON demands, or one that it allows.
void appendEscaped(std::string& out, unsigned char byte, bool isLong) {
  constexpr char kDigits[] = "0123456789abcdef";
  if (byte == '\n' && !isLong) {
    out.append("\\n");
  } else if ((byte == '"' || byte == '\\') && !isLong) {
    out.append({'\\', static_cast<char>(byte)});
  } else {
    out.append("\\u00").append({kDigits[byte >> 4U], kDigits[byte & 15U]});
  }
}

std::string quote(Source& source, std::string_view text) {
  std::string out = "\"";
  const bool isLong = source.isOneIn(4);
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == '"' || byte == '\\' || (isLong && byte == '/')) {
      appendEscaped(out, byte, isLong);
    } else {
      out.push_back(c);
    }
  }
  if (source.isOneIn(20)) out.append(source.pick(kEscapes));
  return out.append("\"");
}

std::string makeValue(Source& source) {
  constexpr std::string_view kComposed[] = {"[]",      "{}",           "[$x]",          "{$n:$x}",
                                            "[$x,$t]", "{$n:$t,$n:1}", "[$[{$n:$i}$]]", "{\"message\":$x}"};
  if (source.isOneIn(3)) return fillPattern(source, source.pick(kComposed));
  return source.isOneIn(3) ? quote(source, makeText(source)) : std::string(source.pick(kScalars));
}

std::string fillSlot(Source& source, char slot) {
  if (slot == 't') return quote(source, makeText(source));
  if (slot == 'n') return source.isOneIn(60) ? makeValue(source) : quote(source, makeName(source));
  if (slot == 'i') return std::string(source.pick(kIntegers));
  if (slot == 'd') return quote(source, source.pick(kDates));
  if (slot == 'o' && !source.isOneIn(8)) return quote(source, makeText(source));
  return makeValue(source);
}

/// Takes the part up to the end that belongs to it off the pattern.
std::string_view takePart(std::string_view& pattern, char begin, char end) {
  std::size_t depth = 1;
  std::size_t at = 0;
  for (;; at += 2) {
    at = pattern.find('$', at);
    if (pattern[at + 1] == begin) ++depth;
    if (pattern[at + 1] == end && --depth == 0) break;
  }
  const std::string_view part = pattern.substr(0, at);
  pattern.remove_prefix(at + 2);
  return part;
}

std::size_t makeCount(Source& source) { return source.isOneIn(40) ? 20 + source.below(60) : source.below(4); }

void appendItems(Source& source, std::string& out, std::string_view item) {
  for (std::size_t count = makeCount(source); count > 0; --count) {
    out.append(fillPattern(source, item)).append(count > 1 ? "," : "");
  }
}

void damage(Source& source, std::string& text) {
  const std::size_t at = source.below(text.size() + 1);
  const std::array<std::string, 3> instead = {"", "}", std::string(1, static_cast<char>(source.below(256)))};
  const std::size_t kind = source.below(6);
  if (kind == 0) text.resize(at);
  if (kind == 1) text.insert(0, "\xEF\xBB\xBF");
  if (kind == 2) text.append(" \r\n\t");
  if (kind > 2) text.replace(at, source.below(2), instead[kind - 3]);
}

}  // namespace

std::string fillPattern(Source& source, std::string_view pattern) {
  std::string out;
  while (!pattern.empty()) {
    const std::size_t at = pattern.find('$');
    out.append(pattern.substr(0, at));
    if (at == std::string_view::npos) break;
    const char slot = pattern[at + 1];
    pattern.remove_prefix(at + 2);
    if (slot == '[') {
      appendItems(source, out, takePart(pattern, '[', ']'));
    } else if (slot == '(') {
      const std::string_view part = takePart(pattern, '(', ')');
      if (!source.isOneIn(4)) out.append(fillPattern(source, part));
    } else {
      out.append(fillSlot(source, slot));
    }
  }
  return out;
}

std::string fillCarelessly(Source& source, std::string_view pattern) {
  std::string text = fillPattern(source, pattern);
  if (source.isOneIn(400)) text = std::string(600, '[') + text + std::string(600, ']');
  if (source.isOneIn(12)) damage(source, text);
  return text;
}

}  // namespace corpus
