#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
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
  for (const std::string& path : {file, folder.string(), std::string("/dev/null"), file + "none"}) {
    EXPECT_EQ(zeasqlite::readStructure(path).error, path + " is no regular file.");
  }
}
