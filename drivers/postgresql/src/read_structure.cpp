// SPDX-License-Identifier: Apache-2.0
#include "zeapostgresql/read_structure.h"

#include <libpq-fe.h>

#include <set>
#include <utility>

#include "open_connection.h"

namespace zeapostgresql {

namespace {

using zeakit::ReadResult;
using zeakit::RowKind;
using Row = std::vector<std::optional<std::string>>;

ReadResult failure(const std::string& what, PGconn* connection) { return {{}, sentenceOf(what, connection)}; }

bool run(PGconn* connection, const char* statement) { return runCommand(connection, statement); }

template <class Function>
bool forEachRow(PGconn* connection, const std::string& sql, Function function) {
  const Result result(PQexec(connection, sql.c_str()));
  if (PQresultStatus(result.get()) != PGRES_TUPLES_OK) return false;
  for (int number = 0; number < PQntuples(result.get()); ++number) {
    Row row(static_cast<std::size_t>(PQnfields(result.get())));
    for (std::size_t cell = 0; cell < row.size(); ++cell) {
      const int field = static_cast<int>(cell);
      if (PQgetisnull(result.get(), number, field) != 0) continue;
      row[cell].emplace(PQgetvalue(result.get(), number, field),
                        static_cast<std::size_t>(PQgetlength(result.get(), number, field)));
    }
    function(row);
  }
  return true;
}

/// What is read with the catalog, and gone when it ends: nothing of it reaches the caller's session.
class Snapshot {
 public:
  explicit Snapshot(PGconn* connection)
      : connection_(connection), isNested_(PQtransactionStatus(connection) == PQTRANS_INTRANS) {
    isOpen_ = run(connection_, isNested_ ? "SAVEPOINT zea_structure"
                                         : "BEGIN TRANSACTION ISOLATION LEVEL REPEATABLE READ, READ ONLY");
    isGood_ = isOpen_ && run(connection_, "SET LOCAL client_encoding = 'UTF8'");
  }
  ~Snapshot() {
    if (!isOpen_) return;
    run(connection_, isNested_ ? "ROLLBACK TO SAVEPOINT zea_structure" : "ROLLBACK");
    if (isNested_) run(connection_, "RELEASE SAVEPOINT zea_structure");
  }
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  bool isGood() const { return isGood_; }

 private:
  PGconn* connection_;
  bool isNested_;
  bool isOpen_ = false;
  bool isGood_ = false;
};

/// The catalog tells everybody of everything, also of what the role may not read.
constexpr char kUnreadable[] =
    "SELECT n.nspname, c.relname FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace"
    " WHERE c.relkind IN ('r','p','v','m','f') AND n.nspname !~ '^pg_' AND n.nspname <> 'information_schema' AND NOT"
    " (pg_catalog.has_schema_privilege(n.oid, 'USAGE') AND pg_catalog.has_any_column_privilege(c.oid, 'SELECT'))";

std::string nameOf(const Row& row) { return row[0].value_or("") + "." + row[1].value_or(""); }

ReadResult read(PGconn* connection, const zeakit::StructureOptions& filter) {
  zeakit::StructureBuilder builder(zeakit::Dialect::PostgreSQL, filter);
  std::set<std::string> unreadable;
  if (!forEachRow(connection, kUnreadable, [&](const Row& row) { unreadable.insert(nameOf(row)); })) {
    return failure("The catalog cannot be read", connection);
  }
  std::vector<std::string> notes;
  const auto queries = zeakit::catalogQueries(zeakit::Dialect::PostgreSQL, zeakit::schemasWithoutPatterns(filter));
  for (const zeakit::CatalogQuery& query : queries) {
    const auto add = [&](const Row& row) {
      const bool isRelation = query.kind == RowKind::Relation;
      const bool canRead = unreadable.empty() || unreadable.count(nameOf(row)) == 0;
      if (canRead) builder.addRow(query.kind, row);
      if (!canRead && isRelation) notes.push_back(nameOf(row) + " is left out: the role may not read it.");
    };
    if (!forEachRow(connection, query.sql, add)) return failure("The catalog cannot be read", connection);
  }
  ReadResult result{builder.build(), {}};
  result.structure.notes.insert(result.structure.notes.begin(), notes.begin(), notes.end());
  return result;
}

}  // namespace

ReadResult readStructure(PGconn* connection, const zeakit::StructureOptions& filter) {
  if (PQstatus(connection) != CONNECTION_OK) return {{}, "The connection to the database is not open."};
  const PGTransactionStatusType status = PQtransactionStatus(connection);
  if (PQpipelineStatus(connection) != PQ_PIPELINE_OFF || status == PQTRANS_ACTIVE) {
    return {{}, "The connection to the database is busy with something else."};
  }
  if (status != PQTRANS_IDLE && status != PQTRANS_INTRANS) {
    return {{}, "The connection's transaction has failed; it can be read once that is rolled back."};
  }
  const Snapshot snapshot(connection);
  return snapshot.isGood() ? read(connection, filter) : failure("The catalog cannot be read", connection);
}

ReadResult readStructure(const std::string& address, const zeakit::StructureOptions& filter) {
  OpenedConnection opened = openConnection(address);
  if (!opened.error.empty()) return {{}, std::move(opened.error)};
  return readStructure(opened.connection.get(), filter);
}

}  // namespace zeapostgresql
