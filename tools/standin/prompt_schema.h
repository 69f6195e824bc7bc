// SPDX-License-Identifier: Apache-2.0
// The database structure, read back from the statements in a system prompt.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace standin {

struct ForeignKey {
  std::vector<std::string> columns;
  std::string schema;  // of the referenced table; empty without a qualifier
  std::string table;
  std::vector<std::string> referencedColumns;
};

/// A table, a view or a materialized view.
struct Relation {
  bool isView = false;
  std::string schema;  // empty without a qualifier
  std::string name;
  std::vector<std::string> columns;
  std::vector<ForeignKey> foreignKeys;
};

/// The relations of all CREATE statements in `prompt` that stand at the beginning of a line, in their order. What is
/// no such statement is passed over: a prompt holds other text too.
std::vector<Relation> readRelations(std::string_view prompt);

}  // namespace standin
