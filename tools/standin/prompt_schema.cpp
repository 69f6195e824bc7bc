// SPDX-License-Identifier: Apache-2.0
#include "standin/prompt_schema.h"

#include <optional>

namespace standin {

namespace {

// Walks over a statement. An operation that does not find what it is for gives false or nothing.
class StatementReader {
 public:
  explicit StatementReader(std::string_view text) : rest_(text) {}

  std::optional<Relation> readRelation() {
    Relation relation;
    if (!take("CREATE ")) return std::nullopt;
    relation.isView = take("MATERIALIZED VIEW ") || take("VIEW ");
    if (!relation.isView && !take("TABLE ")) return std::nullopt;
    if (!readQualifiedName(relation.schema, relation.name) || !take(" (")) return std::nullopt;
    while (!take(")")) {
      if (!readPart(relation)) return std::nullopt;
      take(", ");
    }
    return relation;
  }

 private:
  bool take(std::string_view expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(expected.size());
    return true;
  }

  bool readName(std::string& name) {
    if (!take("`")) return false;
    const std::size_t end = rest_.find('`');
    if (end == std::string_view::npos) return false;
    name = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
    return true;
  }

  bool readQualifiedName(std::string& schema, std::string& name) {
    if (!readName(name)) return false;
    if (!take(".")) return true;
    schema = name;
    return readName(name);
  }

  // The names of a list whose opening parenthesis has been read, and its end.
  bool readNames(std::vector<std::string>& names) {
    do {
      if (!readName(names.emplace_back())) return false;
    } while (take(", "));
    return take(")");
  }

  // A type may hold commas in parentheses of its own: "DECIMAL(10, 2)".
  void skipType() {
    int depth = 0;
    std::size_t at = 0;
    for (; at < rest_.size(); ++at) {
      const char c = rest_[at];
      if (depth == 0 && (c == ',' || c == ')')) break;
      if (c == '(') ++depth;
      if (c == ')') --depth;
    }
    rest_.remove_prefix(at);
  }

  bool readForeignKey(ForeignKey& key) {
    return readNames(key.columns) && take(" REFERENCES ") && readQualifiedName(key.schema, key.table) && take("(") &&
           readNames(key.referencedColumns);
  }

  bool readPart(Relation& relation) {
    if (take("PRIMARY KEY(")) {
      std::vector<std::string> ignored;
      return readNames(ignored);
    }
    if (take("FOREIGN KEY(")) return readForeignKey(relation.foreignKeys.emplace_back());
    if (!readName(relation.columns.emplace_back())) return false;
    skipType();
    return true;
  }

  std::string_view rest_;
};

}  // namespace

std::vector<Relation> readRelations(std::string_view prompt) {
  std::vector<Relation> relations;
  while (!prompt.empty()) {
    if (auto relation = StatementReader(prompt).readRelation()) relations.push_back(*std::move(relation));
    const std::size_t end = prompt.find('\n');
    if (end == std::string_view::npos) break;
    prompt.remove_prefix(end + 1);
  }
  return relations;
}

}  // namespace standin
