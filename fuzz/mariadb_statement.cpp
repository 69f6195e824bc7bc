// SPDX-License-Identifier: Apache-2.0
// A statement that the check lets through writes nothing, not even for a user who may.
#include <mysql.h>
#include <zeamariadb/read_only_runner.h>

#include <memory>
#include <string>

#include "check.h"
#include "support/database_server.h"

namespace {

struct Close {
  void operator()(MYSQL* connection) const { mysql_close(connection); }
};

struct Bench {
  support::MariaDbServer server;
  std::unique_ptr<MYSQL, Close> owner{mysql_init(nullptr)};
  zeakit::OpenedRunner opened;

  Bench() {
    const std::string socket = server.folder() / "s";
    check(mysql_real_connect(owner.get(), nullptr, "zea", nullptr, nullptr, 0, socket.c_str(), 0) != nullptr,
          "an owner");
    for (const char* const sql :
         {"CREATE DATABASE w", "USE w", "CREATE TABLE t(id int, name text)", "INSERT INTO t VALUES (1, 'a')",
          "CREATE SEQUENCE s",
          "CREATE FUNCTION evil() RETURNS int BEGIN INSERT INTO w.t VALUES (9, 'x'); RETURN 1; END",
          "SET max_statement_time = 0.05, SESSION sql_select_limit = 10"}) {
      run(sql);
    }
    zeamariadb::Address address;
    address.socket = socket;
    address.user = "zea";
    address.database = "w";
    opened = zeamariadb::openReadOnlyRunner(address);
    check(opened.error.empty(), "a runner");
  }
  /// All first cells.
  std::string run(const std::string& sql, unsigned column = 0) const {
    std::string cells;
    if (mysql_real_query(owner.get(), sql.data(), sql.size()) != 0) return cells;
    MYSQL_RES* const result = mysql_store_result(owner.get());
    while (MYSQL_ROW row = result != nullptr ? mysql_fetch_row(result) : nullptr) {
      if (mysql_num_fields(result) > column && row[column] != nullptr) cells += std::string(row[column]) + " ";
    }
    mysql_free_result(result);
    return cells;
  }
  /// What the session has written to tables, and which there are.
  std::string witness() const {
    return run("SHOW SESSION STATUS WHERE Variable_name IN ('Handler_write', 'Handler_update', 'Handler_delete')", 1) +
           run("SHOW TABLES FROM w") + run("SELECT @@session.autocommit, @@session.sql_mode") +
           run("SELECT @@session.tx_read_only");
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Bench bench;
  const std::string sql = textOf(data, size);
  if (bench.opened.runner->check(sql).verdict != zeakit::Verdict::Reads) return 0;
  const std::string before = bench.witness();
  bench.run(sql);
  check(bench.witness() == before, "it writes nothing");
  return 0;
}
