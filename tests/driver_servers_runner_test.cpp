// SPDX-License-Identifier: Apache-2.0
// Statements that try to do more than read, over real servers.
#include <atomic>
#include <filesystem>
#include <thread>

#include "support/child_process.h"
#include "support/server_tests.h"
#include "zeamariadb/read_only_runner.h"
#include "zeapostgresql/read_only_runner.h"

using zeakit::RunLimits;
using zeakit::Verdict;

namespace {

/// "r": it reads, and what it does is harmless, fails or is ended; "x": refused; "s": several statements.
struct Attack {
  char verdict;
  const char* sql;
};

std::string shown(const zeakit::StatementResult& result) {
  std::string text;
  for (const auto& row : result.rows) {
    for (const auto& cell : row) text += (cell.isNull ? "NULL" : cell.isBinary ? "binary" : cell.value) + "|";
  }
  return text + (result.isCut ? "..." : "") + result.error;
}

template <std::size_t count, class Witness>
void attack(zeakit::IReadOnlyRunner& runner, const Attack (&attacks)[count], const std::string& folder,
            const Witness& witness) {
  const std::string before = witness();
  for (const Attack& row : attacks) {
    std::string sql = row.sql;
    for (std::size_t at = sql.find("FOLDER"); at != sql.npos; at = sql.find("FOLDER")) sql.replace(at, 6, folder);
    const auto checked = runner.check(sql);
    EXPECT_EQ("rxs"[static_cast<int>(checked.verdict)], row.verdict) << sql << ": " << checked.reason;
    EXPECT_EQ(checked.reason.empty(), checked.verdict == Verdict::Reads) << sql;
    const auto result = runner.run(sql, {5, 100, std::chrono::milliseconds(200)});
    EXPECT_LE(result.rows.size(), 5u) << sql;
    EXPECT_TRUE(row.verdict == 'r' || result.error == checked.reason) << sql << ": " << result.error;
    EXPECT_EQ(witness(), before) << sql;
  }
}

/// Cancels until the function is done.
template <class Function>
void withCancels(zeakit::IReadOnlyRunner& runner, Function function) {
  std::atomic<bool> isDone = false;
  std::thread other([&] {
    while (!isDone) {
      runner.cancel();
      std::this_thread::yield();
    }
  });
  function();
  isDone = true;
  other.join();
}

constexpr Attack kPostgreSqlAttacks[] = {
    {'r', "SELECT 1;"},
    {'r', "-- all\n/* of /* them */ */ TABLE t"},
    {'r', "WITH a AS (SELECT * FROM t) SELECT count(*), max(name), now(), random() FROM a"},
    {'r', "VALUES (1), (2)"},
    {'r', "SHOW work_mem"},
    {'r', "EXPLAIN ANALYZE SELECT count(*) FROM t"},
    {'r', "SELECT 'commit; DROP TABLE t', $$; DROP TABLE t$$, E'\\'; DROP TABLE t --'"},
    {'r', "SELECT name COLLATE \"C\" FROM t WHERE name ILIKE '%o%' AND id = ANY(ARRAY[1, 2]) FETCH FIRST 1 ROW ONLY"},
    {'x', ""},
    {'x', "-- nothing"},
    {'x', "SELEC 1"},
    {'x', "INSERT INTO t VALUES (9, 'x')"},
    {'x', "INSERT INTO t VALUES (9, 'x') RETURNING id"},
    {'x', "UPDATE t SET name = 'x' RETURNING name"},
    {'x', "DELETE FROM t"},
    {'x', "MERGE INTO t USING t u ON t.id = u.id WHEN MATCHED THEN DELETE"},
    {'x', "TRUNCATE t"},
    {'x', "WITH d AS (DELETE FROM t RETURNING *) SELECT * FROM d"},
    {'x', "WITH i AS (INSERT INTO t VALUES (9, 'x') RETURNING *) SELECT * FROM i"},
    {'x', "SELECT * FROM (WITH d AS (UPDATE t SET id = 9 RETURNING *) SELECT * FROM d) s"},
    {'x', "SELECT * INTO n FROM t"},
    {'x', "SELECT * INTO TEMP n FROM t"},
    {'x', "CREATE TABLE n AS SELECT * FROM t"},
    {'x', "CREATE TEMP TABLE n(a int)"},
    {'x', "CREATE VIEW n AS SELECT 1"},
    {'x', "CREATE FUNCTION n() RETURNS int LANGUAGE sql AS 'SELECT 1'"},
    {'x', "CREATE EXTENSION dblink"},
    {'x', "ALTER TABLE t ADD COLUMN c int"},
    {'x', "ALTER SYSTEM SET work_mem = '1GB'"},
    {'x', "ALTER ROLE visitor SUPERUSER"},
    {'x', "DROP TABLE t"},
    {'x', "GRANT ALL ON t TO PUBLIC"},
    {'x', "COMMENT ON TABLE t IS 'x'"},
    {'x', "COPY t TO PROGRAM 'cat > FOLDER/out'"},
    {'x', "COPY t TO 'FOLDER/out'"},
    {'x', "COPY t FROM PROGRAM 'touch FOLDER/out'"},
    {'x', "COPY (SELECT 1) TO STDOUT"},
    {'x', "DO $$ BEGIN DELETE FROM t; END $$"},
    {'x', "CALL p()"},
    {'x', "LOCK TABLE t"},
    {'x', "SELECT * FROM t FOR UPDATE"},
    {'x', "SELECT * FROM (SELECT * FROM t FOR SHARE) s"},
    {'x', "BEGIN"},
    {'x', "COMMIT"},
    {'x', "ROLLBACK"},
    {'x', "COMMIT AND CHAIN"},
    {'x', "SET transaction_read_only = off"},
    {'x', "SET SESSION CHARACTERISTICS AS TRANSACTION READ WRITE"},
    {'x', "RESET ALL"},
    {'x', "SET ROLE zea"},
    {'x', "DISCARD ALL"},
    {'x', "LISTEN c"},
    {'x', "NOTIFY c"},
    {'x', "VACUUM"},
    {'x', "ANALYZE t"},
    {'x', "REINDEX TABLE t"},
    {'x', "CHECKPOINT"},
    {'x', "LOAD 'plpgsql'"},
    {'x', "PREPARE s AS DELETE FROM t"},
    {'x', "EXECUTE s"},
    {'x', "DECLARE c CURSOR FOR SELECT 1"},
    {'x', "REFRESH MATERIALIZED VIEW m"},
    {'x', "EXPLAIN ANALYZE DELETE FROM t"},
    {'x', "EXPLAIN (ANALYZE, FORMAT JSON) INSERT INTO t VALUES (9, 'x')"},
    {'x', "EXPLAIN ANALYZE CREATE TABLE n AS SELECT 1"},
    {'x', "SELECT pg_sleep(1)"},
    {'x', "SELECT \"pg_sleep\"(1) FROM t"},
    {'x', "SELECT pg_catalog.pg_sleep_for('1 second')"},
    {'x', "SELECT pg_read_file('FOLDER/data/postgresql.conf')"},
    {'x', "SELECT * FROM pg_ls_dir('.')"},
    {'x', "SELECT lo_import('/etc/passwd')"},
    {'x', "SELECT lo_export(1, 'FOLDER/out')"},
    {'x', "SELECT nextval('s')"},
    {'x', "SELECT setval('s', 100)"},
    {'x', "SELECT set_config('transaction_read_only', 'off', false)"},
    {'x', "SELECT pg_advisory_lock(1)"},
    {'x', "SELECT pg_try_advisory_lock_shared(1)"},
    {'x', "SELECT count(pg_terminate_backend(pid)) FROM pg_stat_activity"},
    {'x', "SELECT pg_reload_conf()"},
    {'x', "SELECT pg_notify('c', 'x')"},
    {'x', "SELECT pg_logical_emit_message(false, 'a', 'b')"},
    {'x', "SELECT pg_switch_wal()"},
    {'x', "SELECT pg_stat_reset()"},
    {'x', "SELECT query_to_xml('DELETE FROM t', true, true, '')"},
    {'x', "SELECT txid_current()"},
    {'x', "SELECT evil()"},
    {'x', "SELECT public . evil ( )"},
    {'x', "SELECT \"od\"\"d\\na\tme\"()"},
    {'x', "SELECT * FROM t WHERE id = (SELECT evil())"},
    {'x', "SELECT claims_to_read()"},
    {'x', "SELECT count(*) FROM t ORDER BY evil()"},
    {'s', "SELECT 1; SELECT 2"},
    {'s', "commit; DROP TABLE t"},
    {'s', "SELECT 1; COMMIT; DROP TABLE t; BEGIN"},
    // What the check can't know, the transaction stops.
    {'r', "SELECT * FROM advancing"},
    {'r', "SELECT * FROM locking"},
    {'r', "SELECT * FROM sleeping"},
    {'r', "SELECT 1 === 1"},
    {'r', "SELECT no_such_function()"},
    // Each ends by itself, or is ended.
    {'r', "SELECT * FROM generate_series(1, 1000000000)"},
    {'r', "SELECT count(*) FROM generate_series(1, 1000000000)"},
    {'r', "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT 1 FROM n) SELECT * FROM n"},
    {'r', "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT 1 FROM n) SELECT count(*) FROM n"},
    {'r', "SELECT repeat('x', 100000000)"},
    {'r', "SELECT regexp_replace(repeat('a', 100000), '(a+)+b', '')"},
};

TEST_F(PostgreSql, RunsNothingThatDoesMoreThanRead) {
  const std::string out = server->folder().string();
  const auto owner = connect();
  run(owner,
      "CREATE TABLE t(id int, name text); INSERT INTO t VALUES (1, 'one'), (2, NULL); CREATE SEQUENCE s;"
      "CREATE FUNCTION evil() RETURNS int LANGUAGE sql AS 'INSERT INTO t VALUES (9, NULL) RETURNING id';"
      "CREATE FUNCTION claims_to_read() RETURNS int LANGUAGE sql STABLE SECURITY DEFINER AS 'SELECT evil()';"
      "CREATE FUNCTION same(int, int) RETURNS boolean LANGUAGE sql AS 'INSERT INTO t VALUES (9, NULL); SELECT true';"
      "CREATE FUNCTION \"od\"\"d\\na\tme\"() RETURNS int LANGUAGE sql AS 'SELECT 1';"
      "CREATE OPERATOR === (LEFTARG = int, RIGHTARG = int, FUNCTION = same);"
      "CREATE PROCEDURE p() LANGUAGE sql AS 'DELETE FROM t';"
      "CREATE VIEW advancing AS SELECT nextval('s'); CREATE VIEW locking AS SELECT pg_try_advisory_lock(7);"
      "CREATE VIEW sleeping AS SELECT pg_sleep(100) IS NULL AS a; CREATE MATERIALIZED VIEW m AS SELECT 1;"
      "CREATE ROLE visitor LOGIN; GRANT SELECT ON ALL TABLES IN SCHEMA public TO visitor;"
      "GRANT USAGE ON SEQUENCE s TO visitor");
  const auto witness = [&] {
    return run(owner,
               "SELECT concat_ws(' ', (SELECT string_agg(t::text, '') FROM t), (SELECT last_value::text || is_called "
               "FROM"
               " s), (SELECT count(*) FROM pg_class), (SELECT count(*) FROM pg_locks WHERE locktype = 'advisory'),"
               " (SELECT string_agg(rolname || rolsuper, '') FROM pg_roles), (SELECT count(*) FROM pg_db_role_setting),"
               " (SELECT count(*) FROM pg_largeobject_metadata), (SELECT count(*) FROM pg_description),"
               " (SELECT string_agg(relacl::text, '') FROM pg_class), current_setting('work_mem'),"
               " (SELECT count(*) FROM pg_stat_activity WHERE backend_type = 'client backend'))") +
           std::to_string(std::filesystem::exists(out + "/out"));
  };
  EXPECT_NE(zeapostgresql::openReadOnlyRunner(address()).error.find("may write files"), std::string::npos);
  for (const char* user : {"zea", "visitor"}) {
    const auto opened = zeapostgresql::openReadOnlyRunner(address(user), {std::string(user) == "zea"});
    ASSERT_EQ(opened.error, "");
    attack(*opened.runner, kPostgreSqlAttacks, out, witness);
    EXPECT_EQ(shown(opened.runner->run("SELECT name FROM t ORDER BY id")), "one|NULL|");
  }
}

TEST_F(PostgreSql, IsTalkedAboutByTheConsole) {
  run(connect(),
      "CREATE SCHEMA till; CREATE TABLE till.clients(id int PRIMARY KEY, name text); INSERT INTO till.clients"
      " VALUES (1, 'Ada'); CREATE TABLE public.others(id int); CREATE ROLE talker LOGIN; GRANT USAGE ON SCHEMA"
      " till TO talker; GRANT SELECT ON ALL TABLES IN SCHEMA till TO talker");
  const std::string folder = server->folder().string();
  const std::string database = "postgresql:///postgres?host=" + folder + "&user=";
  const auto prompt =
      support::runChild({ZEA_PROGRAM, "prompt", "--db", database + "zea", "--tables", "clients", "--tables", "others"});
  EXPECT_NE(prompt.output.find("CREATE TABLE `public`.`others`"), std::string::npos) << prompt.output << prompt.error;
  EXPECT_NE(prompt.output.find("CREATE TABLE `till`.`clients` (`id` integer NOT NULL, `name` text"), std::string::npos);
  const auto asked = support::runChild({ZEA_PROGRAM, "ask", "--db", database + "talker", "--sql", "Show the clients"});
  EXPECT_EQ(asked.exitCode, 0) << asked.error;
  EXPECT_NE(asked.output.find("clients"), std::string::npos) << asked.output;
  const auto refused = support::runChild({ZEA_PROGRAM, "ask", "--db", database + "zea", "--run", "Show the clients"});
  EXPECT_NE(refused.error.find("may write files"), std::string::npos) << refused.error;
  const auto chat = support::runChild({ZEA_PROGRAM, "chat", "--db", database + "talker", "--schemas", "till"}, {},
                                      "Show the clients\n/run\n/explain\n/schema\n");
  EXPECT_NE(chat.output.find("1  | Ada"), std::string::npos) << chat.output << chat.error;
  EXPECT_NE(chat.output.find("Seq Scan on clients"), std::string::npos) << chat.output;
  EXPECT_NE(chat.error.find("till.clients"), std::string::npos) << chat.error;
  EXPECT_EQ(chat.error.find("others"), std::string::npos) << chat.error;
}

TEST_F(PostgreSql, ReturnsRowsAndEndsWhatTakesTooLong) {
  run(connect(), "CREATE ROLE runner_plain LOGIN");
  const auto opened = zeapostgresql::openReadOnlyRunner(address("runner_plain"));
  ASSERT_EQ(opened.error, "");
  auto& runner = *opened.runner;
  const auto result = runner.run("SELECT 1 AS a, 'é'::varchar(5), '\\x00ff'::bytea, NULL::numeric, true AS e");
  EXPECT_EQ(shown(result), "1|é|binary|NULL|t|");
  EXPECT_EQ(result.rows[0][2].value, std::string("\0\xFF", 2));
  std::string columns;
  for (const auto& column : result.columns) columns += column.name + " " + column.type + "|";
  EXPECT_EQ(columns, "a integer|varchar character varying(5)|bytea bytea|numeric numeric|e boolean|");
  EXPECT_EQ(shown(runner.run("SELECT * FROM generate_series(1, 9)", {2, 100, std::chrono::seconds(9)})), "1|2|...");
  EXPECT_EQ(shown(runner.run("SELECT generate_series(1, 1000000000)", {2, 100, std::chrono::hours(1)})), "1|2|...");
  EXPECT_EQ(shown(runner.run("SELECT repeat('x', 90000000)", {2, 100, std::chrono::hours(1)})), "...");
  EXPECT_EQ(shown(runner.run("SELECT 1 / 0")), "The statement failed: division by zero.");
  EXPECT_NE(shown(runner.explain("SELECT 1")).find("Result"), std::string::npos);
  EXPECT_EQ(shown(runner.explain("SHOW work_mem")), "");
  std::string deep = "SELECT 1";
  for (int i = 0; i < 50000; ++i) deep += "+1";
  EXPECT_EQ(runner.check(deep).verdict, Verdict::Reads);
  withCancels(runner, [&] {
    EXPECT_EQ(shown(runner.run("SELECT count(*) FROM (SELECT generate_series(1, 100000000000)) s",
                               {1, 1, std::chrono::hours(1)})),
              "The statement was cancelled.");
  });
  // The session ends in the middle; the next statement has a new one.
  std::thread ending([&] {
    while (run(connect(),
               "SELECT count(pg_terminate_backend(pid)) FROM pg_stat_activity WHERE usename = 'runner_plain' AND"
               " query LIKE '%series(1, 100000000000))%'") == "0") {
    }
  });
  EXPECT_NE(shown(runner.run("SELECT count(*) FROM (SELECT generate_series(1, 100000000000)) s",
                             {1, 1, std::chrono::hours(1)})),
            "");
  ending.join();
  EXPECT_EQ(shown(runner.run("SELECT 2")), "2|");
}

constexpr Attack kMariaDbAttacks[] = {
    {'r', "SELECT 1;"},
    {'r', "-- all\n# of\n/* them */ SELECT * FROM w.t"},
    {'r', "WITH a AS (SELECT * FROM w.t) SELECT count(*), max(name), now(), rand() FROM a"},
    {'r', "(SELECT 1) UNION (SELECT 2)"},
    {'r', "VALUES (1), (2)"},
    {'r', "SHOW TABLES FROM w"},
    {'r', "SHOW CREATE TABLE w.t"},
    {'r', "DESCRIBE w.t"},
    {'r', "EXPLAIN SELECT * FROM w.t"},
    {'r', "SELECT 'commit; DROP TABLE t', 'a\\'; DELETE FROM w.t; -- ', \"x\"\"; DROP\""},
    {'r', "SELECT replace(name, 'o', '0'), insert('abc', 1, 1, 'x'), `name` AS `delete` FROM w.t"},
    {'r', "SELECT t.id, t.name FROM w.t WHERE name LIKE '%update%'"},
    {'x', ""},
    {'x', " ; -- nothing"},
    {'x', "INSERT INTO w.t VALUES (9, 'x')"},
    {'x', "INSERT INTO w.t VALUES (9, 'x') RETURNING id"},
    {'x', "REPLACE INTO w.t VALUES (1, 'x')"},
    {'x', "UPDATE w.t SET name = 'x'"},
    {'x', "DELETE FROM w.t RETURNING id"},
    {'x', "TRUNCATE w.t"},
    {'x', "WITH a AS (SELECT 1) DELETE FROM w.t"},
    {'x', "SELECT * FROM w.t INTO OUTFILE 'FOLDER/out'"},
    {'x', "SELECT * INTO OUTFILE 'FOLDER/out' FROM w.t"},
    {'x', "SELECT name INTO DUMPFILE 'FOLDER/out' FROM w.t LIMIT 1"},
    {'x', "SELECT 1 INTO @a"},
    {'x', "SELECT '.' INTO @a"},
    {'x', "SELECT 1.INTO @a"},
    {'x', "SELECT \"load_file\"('/etc/passwd')"},
    {'s', "SELECT 1; ';'"},
    {'x', "SELECT @a := 1"},
    {'x', "SELECT 1 /*! INTO OUTFILE 'FOLDER/out' */"},
    {'x', "SELECT 1 /*M! INTO OUTFILE 'FOLDER/out' */"},
    {'x', "SELECT 1 /*!50000 + sleep(1) */"},
    {'x', "/*!DELETE FROM w.t*/"},
    {'x', "SELECT 1 /* never closed"},
    {'x', "SELECT 'never closed"},
    {'x', "SELECT \"\\\"; DELETE FROM w.t; -- \""},
    {'x', "SELECT load_file('/etc/passwd')"},
    {'x', "SELECT LOAD_FILE ('/etc/passwd')"},
    {'x', "SELECT `load_file`('/etc/passwd')"},
    {'x', "SELECT sleep(1)"},
    {'x', "SELECT benchmark(1000000000, md5('x'))"},
    {'x', "SELECT get_lock('a', 1)"},
    {'x', "SELECT release_all_locks()"},
    {'x', "SELECT master_pos_wait('a', 1)"},
    {'x', "SELECT NEXT VALUE FOR w.s"},
    {'x', "SELECT nextval(w.s)"},
    {'x', "SELECT setval(w.s, 100)"},
    {'x', "SELECT * FROM w.t FOR UPDATE"},
    {'x', "SELECT * FROM w.t LOCK IN SHARE MODE"},
    {'x', "SELECT * FROM w.t PROCEDURE ANALYSE()"},
    {'x', "SELECT w.evil()"},
    {'x', "SELECT `w`.`evil`()"},
    {'x', "SELECT w . EVIL ( )"},
    {'x', "CALL w.p()"},
    {'x', "DO w.evil()"},
    {'x', "DO sleep(1)"},
    {'x', "CREATE TABLE w.n(a int)"},
    {'x', "CREATE TEMPORARY TABLE w.n(a int)"},
    {'x', "CREATE OR REPLACE VIEW w.n AS SELECT 1"},
    {'x', "ALTER TABLE w.t ADD COLUMN c int"},
    {'x', "DROP TABLE w.t"},
    {'x', "RENAME TABLE w.t TO w.u"},
    {'x', "GRANT ALL ON *.* TO visitor@localhost"},
    {'x', "SET autocommit = 0"},
    {'x', "SET GLOBAL max_connections = 7"},
    {'x', "SET SESSION TRANSACTION READ WRITE"},
    {'x', "SET STATEMENT max_statement_time = 0 FOR SELECT 1"},
    {'x', "BEGIN"},
    {'s', "BEGIN NOT ATOMIC DELETE FROM w.t; END"},
    {'x', "COMMIT"},
    {'x', "ROLLBACK"},
    {'x', "START TRANSACTION READ WRITE"},
    {'x', "LOCK TABLES w.t WRITE"},
    {'x', "UNLOCK TABLES"},
    {'x', "FLUSH TABLES WITH READ LOCK"},
    {'x', "LOAD DATA INFILE '/etc/passwd' INTO TABLE w.t"},
    {'x', "HANDLER w.t OPEN"},
    {'x', "PREPARE s FROM 'DELETE FROM w.t'"},
    {'x', "EXECUTE IMMEDIATE 'DELETE FROM w.t'"},
    {'x', "KILL 1"},
    {'x', "SHUTDOWN"},
    {'x', "ANALYZE TABLE w.t"},
    {'x', "ANALYZE SELECT 1"},
    {'x', "OPTIMIZE TABLE w.t"},
    {'x', "EXPLAIN DELETE FROM w.t"},
    {'x', "USE mysql"},
    {'x', "INSTALL SONAME 'x'"},
    {'x', "CREATE FUNCTION n RETURNS STRING SONAME 'x'"},
    {'s', "SELECT 1; SELECT 2"},
    {'s', "SELECT 1; SHOW TABLES"},
    // What the check can't know, the transaction or the server stops.
    {'r', "SELECT * FROM w.writing"},
    {'r', "SELECT * FROM w.sleeping"},
    {'r', "SELECT no_such_function()"},
    {'r', "SELECT @@version"},
    // Each ends by itself, or is ended.
    {'r', "SELECT * FROM seq_1_to_1000000000"},
    {'r', "SELECT count(*) FROM seq_1_to_1000000000 a, seq_1_to_1000000000 b"},
    {'r', "WITH RECURSIVE n AS (SELECT 1 AS i UNION ALL SELECT i + 1 FROM n) SELECT * FROM n"},
    {'r', "SELECT repeat('x', 15000000)"},
    {'r', "SELECT repeat('x', 2000000000)"},
};

TEST_F(MariaDb, RunsNothingThatDoesMoreThanRead) {
  const std::string out = server->folder().string();
  const auto owner = connect();
  // A table that no rollback takes back.
  run(owner,
      "CREATE DATABASE w; CREATE TABLE w.t(id int PRIMARY KEY, name varchar(20)) ENGINE = Aria; INSERT INTO w.t VALUES "
      "(1, 'one'), "
      "(2,"
      " NULL); CREATE SEQUENCE w.s; CREATE PROCEDURE w.p() DELETE FROM w.t; CREATE FUNCTION w.evil() RETURNS int"
      " MODIFIES SQL DATA BEGIN INSERT INTO w.t VALUES (9, 'x'); RETURN 1; END; CREATE VIEW w.writing AS SELECT"
      " w.evil(); CREATE VIEW w.sleeping AS SELECT sleep(100); CREATE USER visitor@localhost; GRANT SELECT, EXECUTE,"
      " SHOW VIEW ON w.* TO visitor@localhost; CREATE USER runner_own@localhost; GRANT ALL ON *.* TO "
      "runner_own@localhost");
  const auto witness = [&] {
    return run(owner,
               "SELECT concat_ws(' ', (SELECT group_concat(id, coalesce(name, '-')) FROM w.t), (SELECT "
               "next_not_cached_value"
               " FROM w.s), (SELECT count(*) FROM information_schema.TABLES), (SELECT count(*) FROM mysql.global_priv),"
               " (SELECT group_concat(IS_GRANTABLE) FROM information_schema.USER_PRIVILEGES), @@global.max_connections,"
               " (SELECT count(*) FROM information_schema.PROCESSLIST WHERE USER IN ('runner_own', 'visitor') AND "
               "STATE LIKE"
               " '%lock%'))") +
           std::to_string(std::filesystem::exists(out + "/out"));
  };
  for (const char* user : {"runner_own", "visitor"}) {
    zeamariadb::Address place = address(user);
    place.database = "w";
    const auto opened = zeamariadb::openReadOnlyRunner(place);
    ASSERT_EQ(opened.error, "");
    attack(*opened.runner, kMariaDbAttacks, out, witness);
    EXPECT_EQ(shown(opened.runner->run("SELECT name FROM w.t ORDER BY id")), "one|NULL|");
  }
}

TEST_F(MariaDb, IsTalkedAboutByTheConsole) {
  run(connect(),
      "CREATE DATABASE till; CREATE TABLE till.clients(id int PRIMARY KEY, name text); INSERT INTO"
      " till.clients VALUES (1, 'Ada'); CREATE DATABASE attic; CREATE TABLE attic.chests(id int)");
  const std::string database = "mysql://zea@localhost/till?socket=" + server->folder().string() + "/s";
  const auto asked = support::runChild({ZEA_PROGRAM, "ask", "--db", database, "--run", "Show the clients"});
  EXPECT_EQ(asked.exitCode, 0) << asked.error;
  EXPECT_NE(asked.output.find("Ada"), std::string::npos) << asked.output << asked.error;
  const std::string all = "mysql://zea@localhost/?socket=" + server->folder().string() + "/s";
  const auto chat = support::runChild({ZEA_PROGRAM, "chat", "--db", all, "--schemas", "till", "--schemas", "attic"}, {},
                                      "Show the chests\n/schema\n/run\n");
  EXPECT_NE(chat.error.find("attic.chests\ntill.clients"), std::string::npos) << chat.error;
}

TEST_F(MariaDb, ReturnsRowsAndEndsWhatTakesTooLong) {
  zeamariadb::Address place = address();
  place.database = "mysql";
  const auto opened = zeamariadb::openReadOnlyRunner(place);
  ASSERT_EQ(opened.error, "");
  auto& runner = *opened.runner;
  const auto result = runner.run(
      "SELECT 1 AS a, 'é' AS b, x'00FF' AS c, NULL AS d, 1.50 AS e, '' AS f, CAST('2024-02-03' AS date) AS g");
  EXPECT_EQ(shown(result), "1|é|binary|NULL|1.50||2024-02-03|");
  EXPECT_EQ(result.rows[0][2].value, std::string("\0\xFF", 2));
  EXPECT_EQ(result.columns[0].name + result.columns[0].type + result.columns[6].type, "aintdate");
  EXPECT_EQ(shown(runner.run("SELECT * FROM seq_1_to_9", {2, 100, std::chrono::seconds(9)})), "1|2|...");
  EXPECT_EQ(shown(runner.run("SELECT repeat('x', 1000)", {2, 100, std::chrono::seconds(9)})), "...");
  EXPECT_EQ(shown(runner.run("SELECT count(*) FROM seq_1_to_1000000000 a, seq_1_to_1000000000 b",
                             {1, 1, std::chrono::milliseconds(50)})),
            "The statement took longer than it may.");
  EXPECT_EQ(runner.run("SELECT * FROM gone.t").error.find("The statement failed: "), 0u);
  EXPECT_NE(shown(runner.explain("SELECT 1")).find("No tables used"), std::string::npos);
  EXPECT_EQ(shown(runner.explain("SHOW TABLES")), "");
  withCancels(runner, [&] {
    EXPECT_EQ(shown(runner.run("SELECT count(*) FROM seq_1_to_1000000000 a, seq_1_to_1000000000 b",
                               {1, 1, std::chrono::hours(1)})),
              "The statement was cancelled.");
  });
  EXPECT_EQ(shown(runner.run("SELECT 2")), "2|");
}

}  // namespace
