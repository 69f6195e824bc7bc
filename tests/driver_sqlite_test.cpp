// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "zeasqlite/read_structure.h"

namespace fs = std::filesystem;

class SqliteDriver : public testing::Test {
 protected:
  SqliteDriver() {
    std::string pattern = (fs::temp_directory_path() / "structureXXXXXX").string();
    folder = mkdtemp(pattern.data());
    file = (folder / "a %?#.db").string();
  }
  ~SqliteDriver() override { fs::remove_all(folder); }

  void run(const char* script) const {
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, script, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
  }

  std::set<std::pair<std::string, long>> listing() const {
    std::set<std::pair<std::string, long>> entries;
    for (const auto& entry : fs::directory_iterator(folder)) {
      entries.emplace(entry.path(), entry.last_write_time().time_since_epoch().count());
    }
    entries.emplace(folder, fs::last_write_time(folder).time_since_epoch().count());
    return entries;
  }

  fs::path folder;
  std::string file;
};

TEST_F(SqliteDriver, ReadsEveryKindOfObject) {
  run("CREATE TABLE a(id INTEGER PRIMARY KEY, y INT UNIQUE, g INT AS (y + 1));"
      "CREATE TABLE b(a INT REFERENCES A, c INT, d TEXT NOT NULL DEFAULT 'q', UNIQUE(c, d));"
      "CREATE VIEW v AS SELECT id FROM a; CREATE TABLE gone(x); CREATE VIEW w AS SELECT x FROM gone; DROP TABLE gone");
  const auto result = zeasqlite::readStructure(file);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(
      result.structure.document,
      R"x([{"schemas":[{"tables":[{"name":"a","fields":[{"name":"id","type":"INTEGER"},{"name":"y","type":"INT UNIQUE"},)x"
      R"x({"name":"g","type":"INT GENERATED ALWAYS"}],"pkeys":["id"],"fkeys":[]},{"name":"b","fields":[)x"
      R"x({"name":"a","type":"INT"},{"name":"c","type":"INT"},{"name":"d","type":"TEXT NOT NULL DEFAULT 'q', UNIQUE(`c`, `d`)"}],)x"
      R"x("pkeys":[],"fkeys":[{"fields":["a"],"ref_table":"A","ref_fields":["id"]}]}],"views":[{"name":"v","fields":)x"
      R"x([{"name":"id","type":"INTEGER"}],"pkeys":[],"fkeys":[]}],"mviews":[]}]}])x");
  ASSERT_EQ(result.structure.notes.size(), 1u);
  EXPECT_EQ(result.structure.notes[0].substr(0, 14), "w is left out:");
}

TEST_F(SqliteDriver, LeavesTheFolderOfAWalDatabaseAsItIs) {
  run("PRAGMA journal_mode = WAL; CREATE TABLE a(id INT)");
  const auto before = listing();
  EXPECT_EQ(before.size(), 2u);
  EXPECT_NE(zeasqlite::readStructure(file).structure.document.find("\"a\""), std::string::npos);
  EXPECT_EQ(listing(), before);
}

TEST_F(SqliteDriver, RefusesWhatIsNoDatabaseFile) {
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  std::ofstream(folder / "text") << std::string(2000, 'x');
  const std::pair<std::string, const char*> cases[] = {{file, "# is no regular file."},
                                                       {"/dev/null", "# is no regular file."},
                                                       {folder, "# is a directory, not a database."},
                                                       {file + "none", "There is no file #."},
                                                       {folder / "text", "# is not an SQLite database."}};
  for (const auto& [path, sentence] : cases) {
    std::string expected = sentence;
    EXPECT_EQ(zeasqlite::readStructure(path).error, expected.replace(expected.find('#'), 1, path));
  }
}

// SQLite used to mend the index of a log that nobody had open any more.
TEST_F(SqliteDriver, ReadsALogWithoutTouchingItsIndex) {
  sqlite3* writer = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &writer), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(writer, "PRAGMA journal_mode = WAL; CREATE TABLE logged(id INT)", nullptr, nullptr, nullptr),
            0);
  const auto isRead = [this] {
    const auto before = listing();
    const auto result = zeasqlite::readStructure(file);
    EXPECT_EQ(before.size(), 4u);
    EXPECT_EQ(listing(), before);
    return result.structure.document.find("logged") != std::string::npos;
  };
  EXPECT_TRUE(isRead()) << "while another has it open";

  for (const char* part : {"", "-wal", "-shm"}) fs::copy_file(file + part, folder / ("copy" + std::string(part)));
  sqlite3_close(writer);
  fs::remove(file);
  file = folder / "copy";
  EXPECT_TRUE(isRead()) << "after its program died";
  fs::remove(file + "-shm");
  EXPECT_NE(zeasqlite::readStructure(file).error.find("has a log of changes"), std::string::npos);
}

TEST_F(SqliteDriver, ReadsWithoutPermissionToWriteAndLeavesOutAModuleThatIsMissing) {
  run("CREATE TABLE a(id INT); PRAGMA writable_schema = ON; INSERT INTO sqlite_schema VALUES('table', 'lost', 'lost', "
      "0,"
      "'CREATE VIRTUAL TABLE lost USING nomodule(x)')");
  fs::permissions(file, fs::perms::owner_read);
  fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
  const auto before = listing();
  const auto result = zeasqlite::readStructure(file);
  EXPECT_EQ(listing(), before);
  fs::permissions(folder, fs::perms::owner_all);
  EXPECT_NE(result.structure.document.find("\"a\""), std::string::npos) << result.error;
  ASSERT_EQ(result.structure.notes.size(), 1u);
  EXPECT_EQ(result.structure.notes[0], "lost is left out: no such module: nomodule.");
}
