#include "statement_check.h"

#include <pg_query.h>
#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>

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
  pthread_t thread{};
  const bool isDone = pthread_attr_setstacksize(&attributes, kParserStack) == 0 &&
                      pthread_create(&thread, &attributes, parse, &parsed) == 0 && pthread_join(thread, nullptr) == 0;
  pthread_attr_destroy(&attributes);
  return isDone;
}

/// Reads the tree without keeping it: names of members that begin with a capital are nodes.
class TreeReader final : public nlohmann::json_sax<nlohmann::json> {
 public:
  explicit TreeReader(CheckedStatement& statement) : statement_(statement) {}

  bool start_object(std::size_t) override {
    // {"stmts": [{"stmt": {"SelectStmt": ...
    if (++depth_ == 3) ++statements_;
    return true;
  }
  bool end_object() override { return --depth_ >= 0; }
  bool start_array(std::size_t) override { return ++depth_ > 0; }
  bool end_array() override {
    if (--depth_ == functionDepth_) {
      functionDepth_ = -1;
      // The last of "pg_catalog", "count".
      statement_.functions.push_back(lastName_);
    }
    return true;
  }
  bool key(std::string& name) override {
    if (name == "funcname") functionDepth_ = depth_;
    isName_ = name == "sval";
    if (name == "intoClause") refuse("It makes a table.");
    if (name == "lockingClause") refuse("It locks rows.");
    const bool isStatement =
        name.size() > 4 && name[0] >= 'A' && name[0] <= 'Z' && name.compare(name.size() - 4, 4, "Stmt") == 0;
    if (!isStatement || name == "SelectStmt") return true;
    const bool isShown = depth_ == 4 && (name == "ExplainStmt" || name == "VariableShowStmt");
    if (isShown) statement_.isExplained = true;
    if (!isShown) refuse("It is no statement that reads rows, or has one in it.");
    return true;
  }
  bool string(std::string& text) override {
    if (isName_ && functionDepth_ >= 0) lastName_ = text;
    return true;
  }
  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(std::int64_t) override { return true; }
  bool number_unsigned(std::uint64_t) override { return true; }
  bool number_float(double, const std::string&) override { return true; }
  bool binary(nlohmann::json::binary_t&) override { return true; }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
    refuse("The statement cannot be read.");
    return false;
  }

  std::size_t statements() const { return statements_; }

 private:
  void refuse(const char* reason) {
    if (statement_.check.reason.empty()) statement_.check.reason = reason;
  }

  CheckedStatement& statement_;
  int depth_ = 0;
  std::size_t statements_ = 0;
  int functionDepth_ = -1;  // that of the member "funcname" whose list is read
  bool isName_ = false;
  std::string lastName_;
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
  static_cast<void>(nlohmann::json::sax_parse(parsed.tree, &reader));  // the reader tells
  if (reader.statements() == 0) return refused("There is no statement.");
  if (reader.statements() > 1) {
    statement.check = {Verdict::SeveralStatements, "There are several statements."};
  } else if (statement.check.reason.empty()) {
    statement.check.verdict = Verdict::Reads;
  }
  return statement;
}

}  // namespace zeapostgresql
