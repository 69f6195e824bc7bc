// SPDX-License-Identifier: Apache-2.0
#include "zeamariadb/read_structure.h"

#include <mysql.h>

#include <memory>
#include <string_view>
#include <utility>

#include "open_connection.h"

namespace zeamariadb {

namespace {

using zeakit::ReadResult;
using Row = std::vector<std::optional<std::string>>;

struct FreeResult {
  void operator()(MYSQL_RES* result) const { mysql_free_result(result); }
};

ReadResult failure(const std::string& what, MYSQL* connection) { return {{}, sentenceOf(what, connection)}; }

bool run(MYSQL* connection, const std::string& statement) { return runCommand(connection, statement); }

template <class Function>
bool forEachRow(MYSQL* connection, const std::string& sql, Function function) {
  if (!run(connection, sql)) return false;
  const std::unique_ptr<MYSQL_RES, FreeResult> result(mysql_use_result(connection));
  if (result == nullptr) return false;
  const unsigned count = mysql_num_fields(result.get());
  while (MYSQL_ROW cells = mysql_fetch_row(result.get())) {
    const unsigned long* const lengths = mysql_fetch_lengths(result.get());
    Row row(count);
    for (unsigned cell = 0; cell < count; ++cell) {
      if (cells[cell] != nullptr) row[cell].emplace(cells[cell], lengths[cell]);
    }
    function(row);
  }
  return mysql_errno(connection) == 0;
}

/// What of a session decides what the catalog's rows look like, and how many there are; put back at the end.
class Settings {
 public:
  explicit Settings(MYSQL* connection) : connection_(connection) {
    // The server's names of settings, so that nothing of theirs needs quoting.
    isGood_ = forEachRow(connection_,
                         "SELECT @@character_set_client, @@character_set_results, @@collation_connection,"
                         " @@sql_select_limit",
                         [this](const Row& row) { former_ = row; }) &&
              former_.size() == 4 && run(connection_, "SET NAMES utf8mb4, sql_select_limit = DEFAULT");
  }
  ~Settings() {
    if (former_.size() != 4) return;
    const auto valueOf = [this](std::size_t index) { return former_[index] ? "'" + *former_[index] + "'" : "NULL"; };
    run(connection_, "SET character_set_client = " + valueOf(0) + ", character_set_results = " + valueOf(1) +
                         ", collation_connection = " + valueOf(2) +
                         ", sql_select_limit = " + former_[3].value_or("DEFAULT"));
  }
  Settings(const Settings&) = delete;
  Settings& operator=(const Settings&) = delete;

  bool isGood() const { return isGood_; }

 private:
  MYSQL* connection_;
  Row former_;
  bool isGood_ = false;
};

}  // namespace

ReadResult readStructure(MYSQL* connection, const zeakit::StructureOptions& filter) {
  if (connection == nullptr) return {{}, "The connection to the database is not open."};
  const Settings settings(connection);
  if (!settings.isGood()) return failure("The catalog cannot be read", connection);
  const bool isMariaDb = std::string_view(mysql_get_server_info(connection)).find("MariaDB") != std::string_view::npos;
  const auto dialect = isMariaDb ? zeakit::Dialect::MariaDB : zeakit::Dialect::MySQL;
  zeakit::StructureBuilder builder(dialect, filter);
  for (const zeakit::CatalogQuery& query : zeakit::catalogQueries(dialect, zeakit::schemasWithoutPatterns(filter))) {
    const auto add = [&](const Row& row) { builder.addRow(query.kind, row); };
    if (!forEachRow(connection, query.sql, add)) return failure("The catalog cannot be read", connection);
  }
  return {builder.build(), {}};
}

ReadResult readStructure(const Address& address, const zeakit::StructureOptions& filter) {
  OpenedConnection opened = openConnection(address);
  if (!opened.error.empty()) return {{}, std::move(opened.error)};
  zeakit::StructureOptions own = filter;
  if (own.includedSchemas.empty() && !address.database.empty()) own.includedSchemas = {address.database};
  return readStructure(opened.connection.get(), own);
}

}  // namespace zeamariadb
