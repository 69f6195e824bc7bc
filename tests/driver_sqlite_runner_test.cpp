// SPDX-License-Identifier: Apache-2.0
// Statements that try to do more than read, over an SQLite file.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include "support/providers.h"
#include "zeakit/ask_for_statement.h"
#include "zeasqlite/read_only_runner.h"

namespace fs = std::filesystem;
using zeakit::RunLimits;
using zeakit::Verdict;

namespace {

class SqliteRunner : public testing::Test {
 protected:
  SqliteRunner() {
    std::string pattern = (fs::temp_directory_path() / "runnerXXXXXX").string();
    folder = mkdtemp(pattern.data());
    file = (folder / "a.db").string();
    write(
        "CREATE TABLE t(id INTEGER PRIMARY KEY, name TEXT, data BLOB);"
        "INSERT INTO t VALUES(1, 'one', x'00FF'), (2, NULL, NULL), (3, 'three', NULL);"
        "CREATE VIEW v AS SELECT name FROM t; CREATE TRIGGER g AFTER INSERT ON t BEGIN DELETE FROM t; END;"
        "CREATE VIRTUAL TABLE f USING fts5(words); INSERT INTO f VALUES('apple pie');"
        "CREATE TABLE large(id INT, data BLOB); INSERT INTO large VALUES(7, zeroblob(3000000))");
    auto opened = zeasqlite::openReadOnlyRunner(file);
    EXPECT_EQ(opened.error, "");
    runner = std::move(opened.runner);
  }
  ~SqliteRunner() override { fs::remove_all(folder); }

  void write(const char* script) const {
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, script, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
  }
  /// Every file with its bytes.
  std::map<std::string, std::string> witness() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
      std::string& content = files[entry.path()];
      content.resize(entry.file_size());
      std::ifstream(entry.path(), std::ios::binary).read(content.data(), static_cast<std::streamsize>(content.size()));
    }
    return files;
  }
  static std::string shown(const zeakit::StatementResult& result) {
    std::string text;
    for (const auto& row : result.rows) {
      for (const auto& cell : row) text += (cell.isNull ? "NULL" : cell.isBinary ? "binary" : cell.value) + "|";
    }
    return text + (result.isCut ? "..." : "") + result.error;
  }

  fs::path folder;
  std::string file;
  std::unique_ptr<zeakit::IReadOnlyRunner> runner;
};

TEST_F(SqliteRunner, ReturnsRowsWithTheirColumns) {
  const auto result = runner->run("SELECT id, name AS n, data, id / 2.0, count(*) OVER () FROM t -- all;\n;");
  EXPECT_EQ(shown(result), "1|one|binary|0.5|3|2|NULL|NULL|1.0|3|3|three|NULL|1.5|3|");
  ASSERT_EQ(result.columns.size(), 5u);
  EXPECT_EQ(result.columns[1].name + result.columns[1].type + result.columns[3].type, "nTEXT");
  EXPECT_EQ(result.rows[0][2].value, std::string("\0\xFF", 2));
  EXPECT_EQ(shown(runner->explain("EXPLAIN SELECT 1")), "");
  EXPECT_EQ(shown(runner->run("SELECT id FROM t", {2, 100, std::chrono::seconds(9)})), "1|2|...");
  EXPECT_EQ(shown(runner->run("SELECT name FROM t WHERE name > ''", {9, 5, std::chrono::seconds(9)})), "one|...");
  EXPECT_NE(shown(runner->explain("SELECT * FROM t WHERE id = 1")).find("SEARCH t USING INTEGER PRIMARY KEY"),
            std::string::npos);
  // Another program's changes are seen, whatever they did to the file.
  write("PRAGMA journal_mode = WAL; INSERT INTO large VALUES(8, NULL)");
  EXPECT_EQ(shown(runner->run("SELECT max(id) FROM large")), "8|");
  write("INSERT INTO large VALUES(9, NULL)");
  EXPECT_EQ(shown(runner->run("SELECT max(id) FROM large")), "9|");
  EXPECT_EQ(witness().size(), 1u);
}

TEST_F(SqliteRunner, RunsNothingThatDoesMoreThanRead) {
  // "r": it reads, and what it does is harmless or ended; "x": refused; "s": several statements.
  const struct {
    char verdict;
    const char* sql;
  } cases[] = {
      {'r', "SELECT 1"},
      {'r', "  -- a comment\n/* another */ SELECT * FROM v;  ;; -- end"},
      {'r', "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 5) SELECT * FROM n"},
      {'r', "VALUES (1), (2)"},
      {'r', "SELECT words FROM f WHERE f MATCH 'apple'"},
      {'r', "SELECT value FROM json_each('[1,2]')"},
      {'r', "EXPLAIN SELECT 1"},
      {'r', "SELECT sql FROM sqlite_schema"},
      {'r', "SELECT changes(), last_insert_rowid(), total_changes()"},
      {'r', "SELECT * FROM t AS delete_from WHERE name = 'DROP TABLE t;'"},
      {'x', "SELECT load_extension('x')"},
      {'x', "SELECT LOAD_EXTENSION('x', 'y') FROM t"},
      {'x', "SELECT fts3_tokenizer('simple')"},
      {'x', ""},
      {'x', " ;; -- nothing"},
      {'x', "SELECT * FROM gone"},
      {'x', "SELEC 1"},
      {'x', "INSERT INTO t VALUES(9, 'x', NULL)"},
      {'x', "INSERT INTO t VALUES(9, 'x', NULL) RETURNING id"},
      {'x', "REPLACE INTO t VALUES(1, 'x', NULL)"},
      {'x', "UPDATE t SET name = 'x' RETURNING name"},
      {'x', "DELETE FROM t"},
      {'x', "DELETE FROM t RETURNING *"},
      {'x', "WITH a AS (SELECT 1) DELETE FROM t"},
      {'x', "WITH a AS (SELECT 1) INSERT INTO t SELECT 9, 'x', NULL FROM a RETURNING id"},
      {'x', "INSERT INTO f(f) VALUES('optimize')"},
      {'x', "CREATE TABLE n(a)"},
      {'x', "CREATE TABLE n AS SELECT * FROM t"},
      {'x', "CREATE TEMP TABLE n(a)"},
      {'x', "CREATE TEMP VIEW n AS SELECT 1"},
      {'x', "CREATE TEMP TRIGGER n AFTER INSERT ON t BEGIN SELECT 1; END"},
      {'x', "CREATE VIEW n AS SELECT 1"},
      {'x', "CREATE INDEX n ON t(name)"},
      {'x', "CREATE VIRTUAL TABLE n USING fts5(a)"},
      {'x', "DROP TABLE t"},
      {'x', "DROP VIEW v"},
      {'x', "DROP TRIGGER g"},
      {'x', "ALTER TABLE t RENAME TO u"},
      {'x', "ALTER TABLE t ADD COLUMN c"},
      {'x', "REINDEX"},
      {'x', "ANALYZE"},
      {'x', "VACUUM"},
      {'x', "VACUUM INTO 'FOLDER/copy.db'"},
      {'x', "ATTACH 'FOLDER/new.db' AS n"},
      {'x', "ATTACH 'file:FOLDER/new.db?mode=rwc' AS n"},
      {'x', "DETACH main"},
      {'x', "PRAGMA writable_schema = ON"},
      {'x', "PRAGMA query_only = OFF"},
      {'x', "PRAGMA journal_mode = DELETE"},
      {'x', "PRAGMA wal_checkpoint"},
      {'x', "PRAGMA temp_store_directory = 'FOLDER'"},
      {'x', "PRAGMA user_version"},
      {'x', "UPDATE sqlite_schema SET sql = NULL"},
      {'x', "UPDATE sqlite_schema SET sql = NULL RETURNING name"},
      {'x', "EXPLAIN PRAGMA user_version = 7"},
      {'x', "BEGIN"},
      {'x', "BEGIN EXCLUSIVE"},
      {'x', "COMMIT"},
      {'x', "ROLLBACK"},
      {'x', "SAVEPOINT s"},
      {'x', "RELEASE s"},
      {'x', "EXPLAIN DELETE FROM t"},
      {'x', "EXPLAIN QUERY PLAN DROP TABLE t"},
      {'s', "SELECT 1; SELECT 2"},
      {'s', "SELECT 1; DROP TABLE t"},
      {'s', "SELECT 1; /* x */ commit; DELETE FROM t"},
      {'s', "SELECT 1;; -- x\n;SELEC 2"},
      // Each ends by itself, or is ended.
      {'r', "SELECT * FROM pragma_user_version"},
      {'r', "SELECT * FROM pragma_journal_mode('OFF')"},
      {'r', "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) FROM n"},
      {'r', "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT * FROM n"},
      {'r', "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n ORDER BY -i"},
      {'r', "SELECT count(*) FROM t a, t b, t c, t d, t e, t f, t g, t h, t i, t j, t k, t l, t m, t n, t o, t p"},
      {'r', "SELECT randomblob(2000000000)"},
      {'r', "SELECT zeroblob(2000000000)"},
      {'r', "SELECT printf('%2000000000d', 1)"},
      {'r', "SELECT hex(zeroblob(900000))"},
      {'r', "WITH RECURSIVE n(s) AS (SELECT 'x' UNION ALL SELECT s || s FROM n) SELECT length(s) FROM n"},
      {'r', "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT group_concat(i) FROM n"},
      {'r', "SELECT replace(hex(zeroblob(50000)), '0', 'xxxxxxxxxxxxxxxxxxxx')"},
      {'r', "SELECT hex(zeroblob(400000)) LIKE '%0%0%0%0%0%0%0%0%0%1'"},
      {'x', "SELECT (SELECT (SELECT (SELECT no_such_function(1))))"},
  };
  const auto before = witness();
  for (const auto& row : cases) {
    std::string sql = row.sql;
    for (std::size_t at = sql.find("FOLDER"); at != sql.npos; at = sql.find("FOLDER")) sql.replace(at, 6, folder);
    const auto checked = runner->check(sql);
    EXPECT_EQ("rxs"[static_cast<int>(checked.verdict)], row.verdict) << sql << ": " << checked.reason;
    EXPECT_EQ(checked.reason.empty(), checked.verdict == Verdict::Reads);
    const auto result = runner->run(sql, {5, 100, std::chrono::milliseconds(100)});
    EXPECT_LE(result.rows.size(), 5u) << sql;
    EXPECT_TRUE(row.verdict == 'r' || result.error == checked.reason) << sql << ": " << result.error;
    EXPECT_EQ(witness(), before) << sql;
  }
  EXPECT_EQ(runner->check(std::string("SELECT 1\0; DROP TABLE t", 23)).reason, "There is a NUL in the statement.");
  std::string deep = "SELECT ";
  for (int i = 0; i < 100000; ++i) deep += "1+";
  EXPECT_EQ(runner->check(deep + "1").verdict, Verdict::Refused);
  EXPECT_EQ(shown(runner->run("SELECT count(*) FROM t")), "3|");
}

TEST_F(SqliteRunner, EndsWhatTakesTooLongTooMuchOrIsCancelled) {
  const std::string endless = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT ";
  EXPECT_EQ(shown(runner->run(endless + "count(*) FROM n", {1, 1, std::chrono::milliseconds(20)})),
            "The statement took longer than it may.");
  EXPECT_EQ(shown(runner->run(endless + "hex(randomblob(5000)) FROM n ORDER BY i", {1, 1, std::chrono::hours(1)})),
            "The statement needs more memory than it may.");
  EXPECT_EQ(shown(runner->run("SELECT id FROM large")), "7|");
  EXPECT_EQ(shown(runner->run("SELECT data FROM large")), "A value or a row is larger than 1 MiB.");
  runner->cancel();  // nothing runs: later statements are not affected
  EXPECT_EQ(shown(runner->run("SELECT 1")), "1|");
  std::atomic<bool> isDone = false;
  std::thread other([&] {
    while (!isDone) runner->cancel();
  });
  EXPECT_EQ(shown(runner->run(endless + "count(*) FROM n", {1, 1, std::chrono::hours(1)})),
            "The statement was cancelled.");
  isDone = true;
  other.join();
}

std::string fenced(const std::string& sql) {
  return R"({"choices":[{"message":{"role":"assistant","content":"So:\n```sql\n)" + sql + R"(\n```"}}]})";
}

TEST_F(SqliteRunner, IsAskedUntilAStatementCanBeRun) {
  Conversation conversation(kProviders[0]);
  const auto ask = [&](const std::vector<std::string>& answers, int corrections = 1) {
    for (const std::string& answer : answers) conversation.server.enqueue({200, answer});
    return zeakit::askForStatement(*conversation.assistant, *runner, "How many?", {corrections});
  };
  const auto before = witness();

  const auto right = ask({fenced("SELECT count(*) FROM t")});
  EXPECT_EQ(right.statement + right.error, "SELECT count(*) FROM t\n");
  EXPECT_EQ(right.steps.size(), 1u);

  const auto corrected = ask({fenced("SELECT count(*) FROM gone"), fenced("SELECT count(*) FROM v")});
  EXPECT_EQ(corrected.statement + corrected.error, "SELECT count(*) FROM v\n");
  ASSERT_EQ(corrected.steps.size(), 2u);
  EXPECT_EQ(corrected.steps[0].error, "no such table: gone");
  EXPECT_NE(conversation.lastBody().find("The statement can't be run: no such table: gone"), std::string::npos);

  const auto refused = ask({fenced("DELETE FROM t"), fenced("DROP TABLE t")});
  EXPECT_EQ(refused.statement, "");
  EXPECT_EQ(refused.steps.size(), 2u);
  EXPECT_EQ(ask({fenced("DELETE FROM t")}, 0).error, "It changes rows.");
  EXPECT_EQ(ask({kProviders[0].answer}).error, "The reply has no statement.");
  EXPECT_EQ(ask({R"({"error":{"message":"Try later."}})"}).steps.size(), 1u);
  EXPECT_EQ(witness(), before);
  EXPECT_EQ(conversation.lastBody().find("three"), std::string::npos) << "rows are not sent";

  EXPECT_EQ(
      zeakit::questionWithRows("Why?", runner->run("SELECT name, data AS d FROM t", {2, 99, std::chrono::hours(1)})),
      "Why?\n\nThe statement returned, among more rows:\nname\td\none\t(binary)\nNULL\tNULL");
}

TEST(SqliteRunnerFile, IsRefusedWhenItIsNoDatabase) {
  EXPECT_EQ(zeasqlite::openReadOnlyRunner("/dev/null").error, "/dev/null is no regular file.");
  EXPECT_NE(zeasqlite::openReadOnlyRunner("/proc/self/exe").error, "");
}

}  // namespace
