// SPDX-License-Identifier: Apache-2.0
// The structure of a database from the rows of its catalog, which the host reads over the connection that it has.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zeakit/export.h"

namespace zeakit {

/// Whose catalog is read, and which SQL the model is to write.
enum class Dialect { PostgreSQL, MySQL, MariaDB, SQLite, InformationSchema };

/// What the cells of a row are, in their order. "relation" is the name of a table or a view; cells that are marked with
/// "?" may be null, a schema may be empty, and positions are decimal numbers.
enum class RowKind {
  Relation,    // schema, relation, kind, position?, comment?; the kinds are those of the queries, no "SEQUENCE" is told
  Column,      // schema, relation, position, name, type?, "YES" or "NO" for nullable?, default?, generated?, comment?,
               // enum values?
  ViewText,    // schema, relation, text?
  PrimaryKey,  // schema, relation, constraint?, position, column
  UniqueKey,   // schema, relation, constraint?, position, column
  ForeignKey,  // schema, relation, constraint, position, column, referenced schema, referenced relation, column?
  Check,       // schema, relation?, constraint, clause?; without a relation it is the one that a Constraint names
  Constraint,  // schema, relation, constraint, "PRIMARY KEY", "UNIQUE", "FOREIGN KEY" or "CHECK"
  KeyColumn,   // schema, relation, constraint, position, column, position in the referenced key?
  Reference,   // schema, constraint, schema? and name? of the referenced constraint
  AnyKey       // as ForeignKey, where the referenced relation is null for a primary key, which is named "PRIMARY", and
               // for a unique one
};

struct CatalogQuery {
  RowKind kind;
  std::string sql;
};

/// The statements that read a catalog; each only reads and gives rows of its kind. Without names all schemas but the
/// system's own, of SQLite the attached database "main". Names are written as closed literals whatever they hold; one
/// with a NUL names no schema and finds none. None joins views of information_schema. An SQLite view that refers to
/// what has gone fails the statement about columns. SQLite tells no CHECK and no expression of a generated column; the
/// order in which tables were created and the texts of views are those of "main" only.
[[nodiscard]] ZEAKIT_API std::vector<CatalogQuery> catalogQueries(Dialect dialect,
                                                                  const std::vector<std::string>& schemas = {});

/// What of a catalog is told. Patterns: "*" stands for any bytes, "?" for one, ASCII letters in either case. Those of
/// tables are compared with "table" and "schema.table", those of columns with "column" and "table.column". An empty
/// list of inclusions includes all. Foreign keys to and from what is excluded are left out, and so are keys over
/// excluded columns and expressions and view texts that name anything excluded.
struct StructureOptions {
  std::vector<std::string> includedSchemas, excludedSchemas;
  std::vector<std::string> includedTables, excludedTables;
  std::vector<std::string> includedColumns, excludedColumns;
  bool hasNotNull = true;
  bool hasDefaults = true;
  bool hasUnique = true;
  bool hasChecks = true;
  bool hasEnumValues = true;
  bool hasGenerated = true;
  bool hasColumnComments = true;
  bool hasTableComments = true;
  bool hasViewTexts = true;
};

struct BuiltStructure {
  /// The "db_structure" document.
  std::string document;
  /// Named system instructions, name and text, for "system_instructions".
  std::vector<std::pair<std::string, std::string>> instructions;
  /// Sentences for the host about what was left out.
  std::vector<std::string> notes;
};

/// What a driver gives.
struct ReadResult {
  BuiltStructure structure;
  /// A sentence about why nothing could be read; empty when it could.
  std::string error;
};

/// The schemas that a catalog need be asked for: the included ones, or none when there are patterns among them.
[[nodiscard]] ZEAKIT_API std::vector<std::string> schemasWithoutPatterns(const StructureOptions& options);

/// Collects rows. Serves one thread at a time.
///
/// Bytes: names are compared as they come. In the results each byte that is no UTF-8 is U+FFFD; quotes, backticks and
/// line feeds in names stay as they stand, a NUL is escaped by JSON. In comments control characters become spaces, and
/// what would open or end an SQL comment is pulled apart. Defaults and checks are the catalog's text, unchanged.
class ZEAKIT_API StructureBuilder {
 public:
  explicit StructureBuilder(Dialect dialect, StructureOptions options = {});
  ~StructureBuilder();
  StructureBuilder(StructureBuilder&&) noexcept;
  StructureBuilder& operator=(StructureBuilder&&) noexcept;

  /// Takes a row, in any order. False, with a note, when the kind is unknown or the cells are too few, too many, null
  /// where they may not be, or no number where a position stands. What came before wins over a row about the same.
  bool addRow(RowKind kind, const std::vector<std::optional<std::string>>& row);

  /// The structure of all rows so far: schemas by name, relations by position, then by name. Rows about relations that
  /// no row introduced are left out with a note. More rows may follow.
  [[nodiscard]] BuiltStructure build() const;

 private:
  struct Rows;
  std::unique_ptr<Rows> rows_;
};

}  // namespace zeakit
