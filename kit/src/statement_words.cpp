// SPDX-License-Identifier: Apache-2.0
#include "statement_words.h"

#include <algorithm>
#include <array>
#include <initializer_list>

namespace zeakit {

namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";

char upper(char byte) { return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte; }

bool isWordByte(char byte) {
  return (upper(byte) >= 'A' && upper(byte) <= 'Z') || (byte >= '0' && byte <= '9') || byte == '_';
}

bool isSame(std::string_view text, std::string_view upperWord) {
  return std::equal(text.begin(), text.end(), upperWord.begin(), upperWord.end(),
                    [](char one, char other) { return upper(one) == other; });
}

/// Longer statements show what they are by then.
constexpr std::size_t kLookedAt = 4000;

bool hasWord(std::string_view text, std::string_view word) {
  text = text.substr(0, kLookedAt);
  for (std::size_t at = 0; at < text.size();) {
    if (!isWordByte(text[at])) {
      ++at;
      continue;
    }
    std::size_t end = at;
    while (end < text.size() && isWordByte(text[end])) ++end;
    if (isSame(text.substr(at, end - at), word)) return true;
    at = end;
  }
  return false;
}

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kWhiteSpace);
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_last_not_of(kWhiteSpace) - begin + 1);
}

/// Without the comments ahead of it.
std::string_view statementIn(std::string_view text) {
  for (text = trimmed(text); !text.empty(); text = trimmed(text)) {
    std::size_t end = text.npos;
    if (text.substr(0, 2) == "--") {
      end = text.find('\n');
    } else if (text.substr(0, 2) == "/*") {
      end = text.find("*/", 2);
      if (end != text.npos) ++end;
    } else {
      break;
    }
    text = end == text.npos ? std::string_view() : text.substr(end + 1);
  }
  return text;
}

/// A verb, and the words of which one belongs to it: English uses most verbs too.
struct Verb {
  std::string_view word;
  std::array<std::string_view, 6> others;
};
constexpr std::array<Verb, 16> kVerbs = {{{"SELECT", {"FROM"}},
                                          {"WITH", {"SELECT", "INSERT", "UPDATE", "DELETE"}},
                                          {"INSERT", {"INTO"}},
                                          {"REPLACE", {"INTO"}},
                                          {"UPDATE", {"SET"}},
                                          {"DELETE", {"FROM"}},
                                          {"MERGE", {"USING"}},
                                          {"CREATE", {"TABLE", "VIEW", "INDEX", "FUNCTION", "TRIGGER", "DATABASE"}},
                                          {"ALTER", {"TABLE", "VIEW", "INDEX", "DATABASE"}},
                                          {"DROP", {"TABLE", "VIEW", "INDEX", "DATABASE"}},
                                          {"TRUNCATE", {"TABLE"}},
                                          {"EXPLAIN", {"SELECT", "INSERT", "UPDATE", "DELETE", "WITH"}},
                                          {"PRAGMA", {}},
                                          {"SHOW", {"TABLES", "COLUMNS", "DATABASES", "INDEX", "CREATE"}},
                                          {"DESCRIBE", {}},
                                          {"VALUES", {}}}};

}  // namespace

bool isBlank(std::string_view text) { return text.find_first_not_of(kWhiteSpace) == text.npos; }

bool isStatement(std::string_view text) {
  text = statementIn(text);
  const auto end = std::find_if_not(text.begin(), text.end(), isWordByte);
  const std::string_view word = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  const auto verb = std::find_if(kVerbs.begin(), kVerbs.end(), [&](const Verb& one) { return isSame(word, one.word); });
  if (verb == kVerbs.end() || word.size() == text.size()) return false;
  if (text.back() == ';') return true;
  // A sentence, or one that leads to what it speaks of.
  if (text.back() == '.' || text.back() == ':' || text.back() == '?' || text.back() == '!') return false;
  const bool isUpper = word == verb->word;
  const bool hasOther = std::any_of(verb->others.begin(), verb->others.end(), [&](std::string_view other) {
    return !other.empty() && hasWord(text.substr(word.size()), other);
  });
  if (isSame(word, "SELECT") && !hasOther) {
    // Without a table: "SELECT 1", "SELECT now()".
    return isUpper && text.find_first_of("(0123456789*'@") != text.npos;
  }
  if (isSame(word, "WITH")) return hasOther && text.find('(') != text.npos;
  return hasOther || (isUpper && verb->others[0].empty());
}

std::string_view findStatement(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t lineEnd = std::min(text.find('\n', at), text.size());
    const std::size_t begin = text.find_first_not_of(" \t\r", at);
    if (begin < lineEnd && isWordByte(text[begin])) {
      std::size_t end = begin;
      for (std::size_t next = begin; next < text.size();) {
        const std::size_t newline = std::min(text.find('\n', next), text.size());
        const std::string_view line = trimmed(text.substr(next, newline - next));
        if (line.empty()) break;
        end = newline;
        next = newline + 1;
        if (line.back() == ';') break;
      }
      const std::string_view found = trimmed(text.substr(begin, end - begin));
      if (isStatement(found)) return found;
      // What follows in the paragraph belongs to the same sentence.
      at = std::max(end, lineEnd) + 1;
      continue;
    }
    at = lineEnd + 1;
  }
  return {};
}

}  // namespace zeakit
