// SPDX-License-Identifier: Apache-2.0
#include "zeasqlite/read_structure.h"

#include <sqlite3.h>

#include <memory>

#include "open_file.h"

namespace zeasqlite {

namespace {

using zeakit::ReadResult;
using zeakit::RowKind;
using Row = std::vector<std::optional<std::string>>;

struct Finalize {
  // Repeats the failure of the last step, which has been told.
  void operator()(sqlite3_stmt* statement) const { static_cast<void>(sqlite3_finalize(statement)); }
};

/// False when SQLite fails; the rows until then have been told.
template <class Function>
bool forEachRow(sqlite3* connection, const std::string& sql, const std::string& argument, Function function) {
  sqlite3_stmt* prepared = nullptr;
  if (sqlite3_prepare_v2(connection, sql.c_str(), -1, &prepared, nullptr) != SQLITE_OK) return false;
  const std::unique_ptr<sqlite3_stmt, Finalize> statement(prepared);
  if (sqlite3_bind_parameter_count(prepared) > 0) {
    sqlite3_bind_text(prepared, 1, argument.data(), static_cast<int>(argument.size()), SQLITE_TRANSIENT);
  }
  int code = sqlite3_step(prepared);
  for (; code == SQLITE_ROW; code = sqlite3_step(prepared)) {
    Row row(static_cast<std::size_t>(sqlite3_column_count(prepared)));
    for (std::size_t index = 0; index < row.size(); ++index) {
      const int column = static_cast<int>(index);
      const void* const text = sqlite3_column_text(prepared, column);
      if (text == nullptr) continue;
      row[index].emplace(static_cast<const char*>(text),
                         static_cast<std::size_t>(sqlite3_column_bytes(prepared, column)));
    }
    function(std::move(row));
  }
  return code == SQLITE_DONE;
}

}  // namespace

ReadResult readStructure(sqlite3* connection, const zeakit::StructureOptions& filter) {
  zeakit::StructureBuilder builder(zeakit::Dialect::SQLite, filter);
  std::vector<Row> relations;
  std::vector<std::string> notes;
  for (const zeakit::CatalogQuery& query : zeakit::catalogQueries(zeakit::Dialect::SQLite)) {
    if (query.kind == RowKind::Relation) {
      if (!forEachRow(connection, query.sql, {}, [&](Row row) { relations.push_back(std::move(row)); })) {
        return {{}, std::string("The database cannot be read: ") + sqlite3_errmsg(connection) + "."};
      }
      continue;
    }
    const auto add = [&](const Row& row) { builder.addRow(query.kind, row); };
    if (forEachRow(connection, query.sql, {}, add)) continue;
    for (Row& relation : relations) {  // one of them is what failed
      if (!relation[1] || forEachRow(connection, query.sql + " AND l.arg = ?1", *relation[1], add)) continue;
      notes.push_back(*relation[1] + " is left out: " + sqlite3_errmsg(connection) + ".");
      relation[1].reset();
    }
  }
  for (const Row& relation : relations) {
    if (relation[1]) builder.addRow(RowKind::Relation, relation);
  }
  ReadResult result{builder.build(), {}};
  result.structure.notes.insert(result.structure.notes.begin(), notes.begin(), notes.end());
  return result;
}

ReadResult readStructure(const std::string& file, const zeakit::StructureOptions& filter) {
  OpenedFile opened = openReadOnly(file);
  if (!opened.error.empty()) return {{}, std::move(opened.error)};
  ReadResult result = readStructure(opened.connection.get(), filter);
  if (sqlite3_errcode(opened.connection.get()) == SQLITE_NOTADB) result.error = file + " is not an SQLite database.";
  return result;
}

}  // namespace zeasqlite
