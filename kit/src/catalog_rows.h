// SPDX-License-Identifier: Apache-2.0
// The rows of a catalog as they were added, before they are joined.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zeakit/structure_builder.h"

namespace zeakit {

using Name = std::pair<std::string, std::string>;  // schema and relation, or schema and constraint
using Cell = std::optional<std::string>;

inline constexpr long long kNoPosition = 0;

struct Relation {
  std::string kind;
  long long position = kNoPosition;
  std::string comment;
};

struct Column {
  long long position;
  std::string name;
  std::string type;
  bool isNullable;
  Cell defaultValue, generated, comment, enumValues;
};

struct KeyColumn {
  std::string name;
  std::string referenced;  // empty: a column of the key that is referenced
  long long referencedPosition = kNoPosition;
};

/// Key columns by position.
struct Key {
  std::map<long long, KeyColumn> columns;
  Name target;  // of a foreign key
};
using Keys = std::map<std::string, Key>;  // by constraint

struct CatalogRows {
  Dialect dialect = Dialect::InformationSchema;
  StructureOptions options;
  std::map<Name, Relation> relations;
  std::map<Name, std::map<std::string, Column>> columns;
  std::map<Name, std::string> viewTexts;
  std::map<Name, Keys> primaryKeys, uniqueKeys, foreignKeys, plainKeys;
  std::map<Name, std::map<std::string, std::string>> checks;       // clauses by constraint
  std::map<Name, std::string> looseChecks;                         // by schema and constraint
  std::map<Name, std::map<std::string, std::string>> constraints;  // types by constraint
  std::map<Name, Name> references;                                 // from constraint to constraint
  std::map<int, std::size_t> wrong;                                // how many rows of a kind had other cells

  /// False, counted in `wrong`, when the cells are not those of the kind. What is there already stays.
  bool add(RowKind kind, const std::vector<Cell>& row);

 private:
  void take(RowKind kind, const std::vector<Cell>& row);
};

}  // namespace zeakit
