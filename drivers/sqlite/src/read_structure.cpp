#include "zeasqlite/read_structure.h"

#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>
#include <system_error>

namespace zeasqlite {

namespace {

using zeakit::ReadResult;
using zeakit::RowKind;
using Row = std::vector<std::optional<std::string>>;

struct Close {
  void operator()(sqlite3* database) const { static_cast<void>(sqlite3_close(database)); }
  void operator()(sqlite3_stmt* statement) const { static_cast<void>(sqlite3_finalize(statement)); }
};

/// False when SQLite fails; the rows until then have been told.
template <class Function>
bool forEachRow(sqlite3* connection, const std::string& sql, const std::string& argument, Function function) {
  sqlite3_stmt* prepared = nullptr;
  if (sqlite3_prepare_v2(connection, sql.c_str(), -1, &prepared, nullptr) != SQLITE_OK) return false;
  const std::unique_ptr<sqlite3_stmt, Close> statement(prepared);
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

/// Percent-encoded, so that no byte of the path means anything in a URI.
std::string uriOf(const std::string& file, const char* parameters) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string uri = "file:";
  for (const char byte : std::filesystem::absolute(file).string()) {
    const auto value = static_cast<unsigned char>(byte);
    uri += '%';
    uri += kDigits[value >> 4U];
    uri += kDigits[value & 15U];
  }
  return uri + parameters;
}

bool isWalDatabase(const std::string& file) {
  std::string header(20, '\0');
  std::ifstream(file, std::ios::binary).read(header.data(), 20);
  return header[19] == 2;  // the version that a reader needs
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
  std::error_code failure;
  if (!std::filesystem::is_regular_file(file, failure)) return {{}, file + " is no regular file."};
  const char* parameters = "?mode=ro";
  if (isWalDatabase(file)) {
    const auto logSize = std::filesystem::file_size(file + "-wal", failure);
    const bool hasLog = !failure && logSize > 0;
    // Reading a log needs its index, which SQLite would make beside it.
    if (hasLog && !std::filesystem::exists(file + "-shm", failure)) {
      return {{}, file + " has a log of changes that no program has open; open it once with one that may write."};
    }
    if (!hasLog) parameters = "?mode=ro&immutable=1";
  }
  sqlite3* opened = nullptr;
  const int code =
      sqlite3_open_v2(uriOf(file, parameters).c_str(), &opened, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
  const std::unique_ptr<sqlite3, Close> connection(opened);  // there is one to close after a failure too
  if (code != SQLITE_OK) return {{}, file + " cannot be opened: " + sqlite3_errmsg(opened) + "."};
  sqlite3_busy_timeout(opened, 5000);
  return readStructure(opened, filter);
}

}  // namespace zeasqlite
