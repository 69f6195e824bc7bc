#include "console/sqlite_structure.h"

#include <filesystem>
#include <system_error>

#include "console/failure.h"
#include "console/sqlite_database.h"

namespace console {

namespace {

// Shadow tables hold the content of virtual ones and mean nothing to a user.
constexpr const char* kRelations =
    "SELECT s.name, s.type FROM main.sqlite_schema AS s"
    " JOIN pragma_table_list AS l ON l.schema = 'main' AND l.name = s.name"
    " WHERE s.type IN ('table', 'view') AND l.type <> 'shadow' AND s.name NOT LIKE 'sqlite\\_%' ESCAPE '\\'"
    " ORDER BY s.rowid";
// Hidden 1 is a column of a virtual table that only serves to pass arguments.
constexpr const char* kColumns = "SELECT name, type FROM pragma_table_xinfo(?1, 'main') WHERE hidden <> 1 ORDER BY cid";
constexpr const char* kPrimaryKey = "SELECT name FROM pragma_table_info(?1, 'main') WHERE pk > 0 ORDER BY pk";
// SQLite numbers foreign keys from the last to the first.
constexpr const char* kForeignKeys =
    "SELECT id, \"table\", \"from\", \"to\" FROM pragma_foreign_key_list(?1, 'main') ORDER BY id DESC, seq";
// A column may have no type at all, and an expression in a view has none.
constexpr const char* kNoType = "ANY";

class StructureReader {
 public:
  explicit StructureReader(const SqliteDatabase& database) : database_(database) {}

  DatabaseStructure read() const {
    DatabaseStructure structure;
    SqliteStatement relations(database_, kRelations);
    while (relations.step()) {
      if (relations.textOf(1) == "view") {
        structure.views.push_back(readView(relations.textOf(0)));
      } else {
        structure.tables.push_back(readTable(relations.textOf(0)));
      }
    }
    return structure;
  }

 private:
  Relation readTable(const std::string& name) const {
    return {name, readColumns(name), readPrimaryKey(name), readForeignKeys(name)};
  }

  Relation readView(const std::string& name) const {
    Relation view{name, {}, {}, {}};
    try {
      view.columns = readColumns(name);
    } catch (const SqliteError&) {
      // What the view refers to has gone; the rest of the database is as good as before.
    }
    return view;
  }

  SqliteStatement query(const char* sql, const std::string& relation) const {
    SqliteStatement statement(database_, sql);
    statement.bind(1, relation);
    return statement;
  }

  std::vector<Column> readColumns(const std::string& relation) const {
    std::vector<Column> columns;
    SqliteStatement rows = query(kColumns, relation);
    while (rows.step()) {
      const std::string type = rows.textOf(1);
      columns.push_back({rows.textOf(0), type.empty() ? kNoType : type});
    }
    return columns;
  }

  std::vector<std::string> readPrimaryKey(const std::string& table) const {
    std::vector<std::string> names;
    SqliteStatement rows = query(kPrimaryKey, table);
    while (rows.step()) names.push_back(rows.textOf(0));
    return names;
  }

  std::vector<ForeignKey> readForeignKeys(const std::string& table) const {
    std::vector<ForeignKey> keys;
    std::string lastId;
    SqliteStatement rows = query(kForeignKeys, table);
    while (rows.step()) {
      const std::string id = rows.textOf(0);
      if (keys.empty() || id != lastId) keys.push_back({{}, rows.textOf(1), {}});
      lastId = id;
      keys.back().columns.push_back(rows.textOf(2));
      if (!rows.isNull(3)) keys.back().referencedColumns.push_back(rows.textOf(3));
    }
    for (ForeignKey& key : keys) {
      // "REFERENCES t" without columns means t's primary key.
      if (key.referencedColumns.empty()) key.referencedColumns = readPrimaryKey(key.table);
    }
    return keys;
  }

  const SqliteDatabase& database_;
};

void checkFile(const std::string& file) {
  std::error_code failure;
  const auto status = std::filesystem::status(file, failure);
  if (status.type() == std::filesystem::file_type::not_found) {
    throw Failure(ExitCode::Usage, "There is no file " + file + ".");
  }
  if (failure) throw Failure(ExitCode::Usage, file + " cannot be read: " + failure.message() + ".");
  if (status.type() == std::filesystem::file_type::directory) {
    throw Failure(ExitCode::Usage, file + " is a directory, not a database.");
  }
}

}  // namespace

DatabaseStructure readSqliteStructure(const std::string& file) {
  checkFile(file);
  try {
    const SqliteDatabase database(file, SqliteDatabase::Mode::ReadOnly);
    auto structure = StructureReader(database).read();
    if (structure.tables.empty() && structure.views.empty()) {
      throw Failure(ExitCode::Usage, file + " has no tables or views to talk about.");
    }
    return structure;
  } catch (const SqliteError& error) {
    if (error.isNoDatabase()) throw Failure(ExitCode::Usage, file + " is not an SQLite database.");
    throw Failure(ExitCode::Usage, file + " cannot be read: " + error.what() + ".");
  }
}

}  // namespace console
