// SPDX-License-Identifier: Apache-2.0
#include "statement_check.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace zeamariadb {

namespace {

using zeakit::Verdict;

enum class TokenKind { Word, QuotedName, Text, Sign, End, Unreadable };

struct Token {
  TokenKind kind;
  std::string text;  // words and names in lower case
};

bool isSign(const Token& token, std::string_view text) { return token.kind == TokenKind::Sign && token.text == text; }

char lower(char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte; }

bool isWordByte(char byte) {
  const char small = lower(byte);
  return (small >= 'a' && small <= 'z') || (byte >= '0' && byte <= '9') || byte == '_' || byte == '$' ||
         static_cast<unsigned char>(byte) >= 0x80;
}

class Tokens {
 public:
  explicit Tokens(std::string_view sql) : sql_(sql) {}

  Token next() {
    if (!skip()) return {TokenKind::Unreadable, "A comment is not closed, or holds something to be run."};
    if (at_ == sql_.size()) return {TokenKind::End, {}};
    const char byte = sql_[at_];
    if (byte == '\'' || byte == '"' || byte == '`') return quoted(byte);
    Token token{isWordByte(byte) ? TokenKind::Word : TokenKind::Sign, {}};
    if (token.kind == TokenKind::Sign) {
      token.text = byte;
      ++at_;
      if (byte == ':' && at_ < sql_.size() && sql_[at_] == '=') token.text += sql_[at_++];
      return token;
    }
    while (at_ < sql_.size() && isWordByte(sql_[at_])) token.text += lower(sql_[at_++]);
    return token;
  }

 private:
  /// False for a comment that servers run, or that has no end.
  bool skip() {
    while (at_ < sql_.size()) {
      const std::string_view rest = sql_.substr(at_);
      if (static_cast<unsigned char>(rest[0]) <= ' ') {
        ++at_;
      } else if (rest[0] == '#' ||
                 (rest.substr(0, 2) == "--" && (rest.size() == 2 || static_cast<unsigned char>(rest[2]) <= ' '))) {
        at_ = std::min(sql_.find('\n', at_), sql_.size());
      } else if (rest.substr(0, 2) == "/*") {
        const std::size_t end = sql_.find("*/", at_ + 2);
        if (rest.substr(2, 1) == "!" || rest.substr(2, 2) == "M!" || end == sql_.npos) return false;
        at_ = end + 2;
      } else {
        break;
      }
    }
    return true;
  }

  Token quoted(char quote) {
    Token token{quote == '`' ? TokenKind::QuotedName : TokenKind::Text, {}};
    for (++at_; at_ < sql_.size(); ++at_) {
      const char byte = sql_[at_];
      if (byte == '\\' && quote == '"') {
        return {TokenKind::Unreadable,
                "A backslash in double quotes means one thing or another by the server's settings."};
      }
      if (byte == '\\' && quote == '\'') {
        ++at_;
      } else if (byte == quote) {
        if (at_ + 1 == sql_.size() || sql_[at_ + 1] != quote) {
          ++at_;
          return token;
        }
        token.text += byte;
        ++at_;
      } else {
        token.text += lower(byte);
      }
    }
    return {TokenKind::Unreadable, "A quotation mark is not closed."};
  }

  std::string_view sql_;
  std::size_t at_ = 0;
};

template <std::size_t count>
bool isOneOf(const std::array<std::string_view, count>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

constexpr std::array<std::string_view, 5> kQueries = {"select", "with", "values", "table", "("};
constexpr std::array<std::string_view, 4> kExplaining = {"show", "describe", "desc", "explain"};
// Reserved words that no query has; as functions some of them are harmless, and names are quoted.
constexpr std::array<std::string_view, 21> kOtherStatements = {
    "insert", "update", "delete", "replace", "into",   "outfile", "dumpfile", "lock", "procedure", "call",   "load",
    "alter",  "create", "drop",   "grant",   "revoke", "rename",  "optimize", "kill", "analyze",   "handler"};
constexpr std::array<std::string_view, 19> kFunctions = {"sleep",
                                                         "benchmark",
                                                         "load_file",
                                                         "get_lock",
                                                         "release_lock",
                                                         "is_free_lock",
                                                         "is_used_lock",
                                                         "release_all_locks",
                                                         "master_pos_wait",
                                                         "source_pos_wait",
                                                         "nextval",
                                                         "setval",
                                                         "lastval",
                                                         "master_gtid_wait",
                                                         "wait_for_executed_gtid_set",
                                                         "wait_until_sql_thread_after_gtids",
                                                         "last_insert_id",
                                                         "sys_exec",
                                                         "sys_eval"};

/// Whether a statement reads, word by word.
class WordCheck {
 public:
  explicit WordCheck(CheckedStatement& statement) : statement_(statement) {}

  void take(const Token& token, const Token& before, const Token& after) {
    if (isSign(token, ":=")) refuse("It sets a variable.");
    if (token.kind == TokenKind::Sign) return;
    // A text too: with ANSI_QUOTES what double quotes hold is a name.
    const bool isCalled = isSign(after, "(");
    if (isCalled) {
      statement_.functions.push_back(token.text);
      if (isOneOf(kFunctions, token.text)) refuse("It calls " + token.text + ", which may do more than read.");
    }
    // Also after a dot: "1.INTO" is a number and a word.
    if (token.kind != TokenKind::Word) return;
    const bool isOther = isOneOf(kOtherStatements, token.text) && !isCalled;
    const bool isShown = statement_.isExplained && firstWord_ == "show";
    if (isOther && !isShown) refuse("It locks, writes or runs another statement: " + token.text + ".");
    if (token.text == "value" && before.text == "next" && after.text == "for") refuse("It advances a sequence.");
  }

  void takeFirst(const Token& token) {
    firstWord_ = token.text;
    statement_.isExplained = isOneOf(kExplaining, token.text);
    const bool isQuery = isOneOf(kQueries, token.text);
    const bool isBare = token.kind == TokenKind::Word || token.kind == TokenKind::Sign;
    if (!isBare || (!isQuery && !statement_.isExplained)) refuse("It is no statement that reads rows.");
  }

  void refuse(const std::string& reason) {
    if (statement_.check.reason.empty()) statement_.check.reason = reason;
  }

 private:
  CheckedStatement& statement_;
  std::string firstWord_;
};

}  // namespace

CheckedStatement checkStatement(const std::string& sql) {
  CheckedStatement statement;
  WordCheck words(statement);
  if (sql.find('\0') != sql.npos) {
    words.refuse("There is a NUL in the statement.");
    return statement;
  }
  Tokens tokens(sql);
  Token before{TokenKind::Sign, {}};
  Token token = tokens.next();
  if (token.kind == TokenKind::End) words.refuse("There is no statement.");
  words.takeFirst(token);
  bool hasSeveral = false;
  while (token.kind != TokenKind::End && token.kind != TokenKind::Unreadable) {
    Token after = tokens.next();
    const bool isEnd = isSign(token, ";");
    hasSeveral = hasSeveral || (isEnd && after.kind != TokenKind::End && !isSign(after, ";"));
    words.take(token, before, after);
    before = std::move(token);
    token = std::move(after);
  }
  if (token.kind == TokenKind::Unreadable) {
    statement.check.reason.clear();
    words.refuse(token.text);
  } else if (hasSeveral) {
    statement.check = {Verdict::SeveralStatements, "There are several statements."};
  }
  if (statement.check.reason.empty()) statement.check.verdict = Verdict::Reads;
  return statement;
}

}  // namespace zeamariadb
