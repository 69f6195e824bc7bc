// SPDX-License-Identifier: Apache-2.0
// A statement that the check lets through changes nothing, not even in a database that may be written.
#include <sqlite3.h>
#include <stdlib.h>
#include <unistd.h>
#include <zeasqlite/read_only_runner.h>

#include <filesystem>
#include <memory>
#include <string>

#include "check.h"

namespace {

constexpr char kScript[] =
    "CREATE TABLE t(id INTEGER PRIMARY KEY, n TEXT); INSERT INTO t VALUES(1, 'a'), (2, NULL); CREATE VIEW v AS SELECT n"
    " FROM t; CREATE VIRTUAL TABLE f USING fts5(w)";

struct Close {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
using Database = std::unique_ptr<sqlite3, Close>;

Database open(const std::string& file) {
  sqlite3* opened = nullptr;
  check(sqlite3_open(file.c_str(), &opened) == SQLITE_OK, "a database");
  Database database(opened);
  check(sqlite3_exec(opened, kScript, nullptr, nullptr, nullptr) == SQLITE_OK, "its tables");
  return database;
}

std::string bytesOf(sqlite3* database) {
  sqlite3_int64 size = 0;
  unsigned char* const bytes = sqlite3_serialize(database, "main", &size, 0);
  std::string copy(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
  sqlite3_free(bytes);
  return copy;
}

/// Over a file that is there as long as the fuzzer runs.
struct File {
  std::string name;
  File() {
    std::string pattern = std::filesystem::temp_directory_path() / "zea_fuzz_XXXXXX";
    const int descriptor = mkstemp(pattern.data());
    check(descriptor >= 0 && close(descriptor) == 0, "a file");
    name = pattern;
    open(name).reset();
  }
  ~File() { std::filesystem::remove(name); }
};

zeakit::IReadOnlyRunner& runner() {
  static const File file;
  static const auto opened = zeasqlite::openReadOnlyRunner(file.name);
  check(opened.error.empty(), "a runner");
  return *opened.runner;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string sql = textOf(data, size);
  if (runner().check(sql).verdict != zeakit::Verdict::Reads) return 0;
  const Database writable = open(":memory:");
  const std::string before = bytesOf(writable.get());
  int steps = 0;
  sqlite3_progress_handler(
      writable.get(), 1000, [](void* count) { return ++*static_cast<int*>(count) > 100 ? 1 : 0; }, &steps);
  sqlite3_limit(writable.get(), SQLITE_LIMIT_LENGTH, 100000);
  sqlite3_exec(writable.get(), sql.c_str(), nullptr, nullptr, nullptr);
  sqlite3_progress_handler(writable.get(), 0, nullptr, nullptr);
  check(sqlite3_get_autocommit(writable.get()) == 1, "no transaction is left open");
  check(bytesOf(writable.get()) == before, "what the check lets through changes nothing");
  return 0;
}
