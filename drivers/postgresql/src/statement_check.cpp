// SPDX-License-Identifier: Apache-2.0
#include "statement_check.h"

#include <pg_query.h>
#include <pthread.h>
#include <signal.h>

#include <cstddef>
#include <cstdlib>
#include <string_view>

namespace zeapostgresql {

namespace {

using zeakit::Verdict;

// The parser descends into a statement, some hundred bytes for each byte of "1+1+1+...".
constexpr std::size_t kLongestStatement = std::size_t{128} * 1024;
constexpr std::size_t kParserStack = std::size_t{256} * 1024 * 1024;

struct Parsed {
  std::string sql;
  std::string tree;
  std::string error;
};

void* parse(void* argument) {
  auto& parsed = *static_cast<Parsed*>(argument);
  const PgQueryParseResult result = pg_query_parse(parsed.sql.c_str());
  if (result.error != nullptr) {
    parsed.error = result.error->message;
  } else {
    parsed.tree = result.parse_tree;
  }
  pg_query_free_parse_result(result);
  return nullptr;
}

/// On a stack that is large enough, whatever the caller's is; memory that isn't touched costs nothing.
bool parseOnOwnStack(Parsed& parsed) {
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return false;
  // Signals of the process are left to the host's threads.
  sigset_t all;
  sigset_t former;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &former);
  pthread_t thread{};
  const bool isDone = pthread_attr_setstacksize(&attributes, kParserStack) == 0 &&
                      pthread_create(&thread, &attributes, parse, &parsed) == 0 && pthread_join(thread, nullptr) == 0;
  pthread_sigmask(SIG_SETMASK, &former, nullptr);
  pthread_attr_destroy(&attributes);
  return isDone;
}

/// Reads the tree without keeping it, a token after the other, however deep it is: names of members that begin with a
/// capital are nodes. The text is the parser's own JSON, so nothing but its tokens needs a look.
class TreeReader {
 public:
  explicit TreeReader(CheckedStatement& statement) : statement_(statement) {}

  void read(const std::string& tree) {
    for (std::size_t at = 0; at < tree.size(); ++at) {
      const char byte = tree[at];
      if (byte == '{' || byte == '[') {
        // {"stmts": [{"stmt": {"SelectStmt": ...
        if (++depth_ == 3 && byte == '{') ++statements_;
      } else if (byte == '}' || byte == ']') {
        end();
      } else if (byte == '"') {
        const std::string text = stringAt(tree, at);
        const bool isName = at + 1 < tree.size() && tree[at + 1] == ':';
        isName ? takeName(text) : takeText(text);
      }
    }
  }

  std::size_t statements() const { return statements_; }

 private:
  /// Without its escapes; `at` is moved from the first quotation mark to the last.
  static std::string stringAt(const std::string& tree, std::size_t& at) {
    std::string text;
    for (++at; at < tree.size() && tree[at] != '"'; ++at) {
      if (tree[at] != '\\') {
        text += tree[at];
        continue;
      }
      constexpr std::string_view kEscapes = "nrtbf";
      constexpr std::string_view kMeanings = "\n\r\t\b\f";
      const char escape = ++at < tree.size() ? tree[at] : '"';
      const std::size_t known = kEscapes.find(escape);
      if (escape == 'u') {
        text += static_cast<char>(std::strtol(tree.substr(at + 1, 4).c_str(), nullptr, 16));  // a control character
        at += 4;
      } else {
        text += known == kEscapes.npos ? escape : kMeanings[known];
      }
    }
    return text;
  }

  void end() {
    if (--depth_ != functionDepth_) return;
    functionDepth_ = -1;
    statement_.functions.push_back(lastText_);  // the last of "pg_catalog", "count"
  }
  void takeName(const std::string& name) {
    if (name == "funcname") functionDepth_ = depth_;
    isTextNext_ = name == "sval";
    if (name == "intoClause") refuse("It makes a table.");
    if (name == "lockingClause") refuse("It locks rows.");
    const bool isStatement =
        name.size() > 4 && name[0] >= 'A' && name[0] <= 'Z' && name.compare(name.size() - 4, 4, "Stmt") == 0;
    if (!isStatement || name == "SelectStmt") return;
    const bool isShown = depth_ == 4 && (name == "ExplainStmt" || name == "VariableShowStmt");
    if (isShown) statement_.isExplained = true;
    if (!isShown) refuse("It is no statement that reads rows, or has one in it.");
  }
  void takeText(const std::string& text) {
    if (isTextNext_ && functionDepth_ >= 0) lastText_ = text;
  }
  void refuse(const char* reason) {
    if (statement_.check.reason.empty()) statement_.check.reason = reason;
  }

  CheckedStatement& statement_;
  int depth_ = 0;
  std::size_t statements_ = 0;
  int functionDepth_ = -1;  // that of the member "funcname" whose list is read
  bool isTextNext_ = false;
  std::string lastText_;
};

}  // namespace

CheckedStatement checkStatement(const std::string& sql) {
  CheckedStatement statement;
  const auto refused = [&](const std::string& reason) {
    statement.check = {Verdict::Refused, reason};
    return statement;
  };
  if (sql.find('\0') != sql.npos) return refused("There is a NUL in the statement.");
  if (sql.size() > kLongestStatement) return refused("The statement is too long.");
  Parsed parsed{sql, {}, {}};
  if (!parseOnOwnStack(parsed)) return refused("There is no memory to read the statement.");
  if (!parsed.error.empty()) return refused("The statement cannot be read: " + parsed.error + ".");
  TreeReader reader(statement);
  reader.read(parsed.tree);
  if (reader.statements() == 0) return refused("There is no statement.");
  if (reader.statements() > 1) {
    statement.check = {Verdict::SeveralStatements, "There are several statements."};
  } else if (statement.check.reason.empty()) {
    statement.check.verdict = Verdict::Reads;
  }
  return statement;
}

}  // namespace zeapostgresql
