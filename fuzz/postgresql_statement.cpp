// SPDX-License-Identifier: Apache-2.0
// A statement that the check lets through writes nothing, not even for a superuser in a transaction that may write.
#include <libpq-fe.h>
#include <zeapostgresql/read_only_runner.h>

#include <memory>
#include <string>

#include "check.h"
#include "support/database_server.h"

namespace {

struct Free {
  void operator()(PGconn* connection) const { PQfinish(connection); }
  void operator()(PGresult* result) const { PQclear(result); }
};

/// The server, a runner of a role that only reads, and a superuser's connection.
struct Bench {
  support::PostgreSqlServer server;
  std::unique_ptr<PGconn, Free> owner{PQconnectdb(address("zea").c_str())};
  zeakit::OpenedRunner opened;

  Bench() {
    PQsetNoticeProcessor(
        owner.get(), [](void*, const char*) {}, nullptr);
    run("CREATE TABLE t(id int, name text); INSERT INTO t VALUES (1, 'a'); CREATE SEQUENCE s; CREATE FUNCTION evil()"
        " RETURNS int LANGUAGE sql AS 'INSERT INTO t VALUES (9, NULL) RETURNING id'; CREATE ROLE reader LOGIN;"
        " GRANT SELECT ON t TO reader");
    opened = zeapostgresql::openReadOnlyRunner(address("reader"));
    check(opened.error.empty(), "a runner");
  }
  std::string address(const char* user) const {
    return "host=" + server.folder().string() + " dbname=postgres user=" + user;
  }
  std::string run(const char* sql) const {
    const std::unique_ptr<PGresult, Free> result(PQexec(owner.get(), sql));
    return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Bench bench;
  const std::string sql = textOf(data, size);
  if (bench.opened.runner->check(sql).verdict != zeakit::Verdict::Reads) return 0;
  bench.run("BEGIN READ WRITE; SET LOCAL statement_timeout = 50");
  const std::unique_ptr<PGresult, Free> result(
      PQexecParams(bench.owner.get(), sql.c_str(), 0, nullptr, nullptr, nullptr, nullptr, 0));
  if (PQtransactionStatus(bench.owner.get()) == PQTRANS_INTRANS) {
    check(bench.run("SELECT pg_current_xact_id_if_assigned() IS NULL") == "t", "it writes nothing");
  }
  check(PQtransactionStatus(bench.owner.get()) != PQTRANS_IDLE, "it doesn't end the transaction");
  bench.run("ROLLBACK");
  check(bench.run("SELECT count(*) FROM pg_locks WHERE locktype = 'advisory'") == "0", "it leaves no lock");
  return 0;
}
