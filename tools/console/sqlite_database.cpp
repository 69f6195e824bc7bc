#include "console/sqlite_database.h"

#include <sqlite3.h>

namespace console {

namespace {

// As long as another program may be writing.
constexpr int kBusyMilliseconds = 5000;

void check(sqlite3* database, int code) {
  if (code != SQLITE_OK) throw SqliteError(code, sqlite3_errmsg(database));
}

}  // namespace

bool SqliteError::isNoDatabase() const noexcept { return (code_ & 0xFF) == SQLITE_NOTADB; }

SqliteDatabase::SqliteDatabase(const std::string& file, Mode mode) {
  sqlite3* opened = nullptr;
  const int flags = mode == Mode::ReadOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
  const int code = sqlite3_open_v2(file.c_str(), &opened, flags, nullptr);
  handle_.reset(opened);  // there is one to close after a failure too
  check(opened, code);
  check(opened, sqlite3_busy_timeout(opened, kBusyMilliseconds));
}

void SqliteDatabase::execute(const char* script) {
  check(handle_.get(), sqlite3_exec(handle_.get(), script, nullptr, nullptr, nullptr));
}

// The only failure is a statement that is still open, which the order of declarations excludes.
void SqliteDatabase::Close::operator()(sqlite3* database) const { static_cast<void>(sqlite3_close(database)); }

SqliteStatement::SqliteStatement(const SqliteDatabase& database, const char* sql) : database_(database.handle_.get()) {
  sqlite3_stmt* prepared = nullptr;
  check(sqlite3_prepare_v2(database_, sql, -1, &prepared, nullptr));
  handle_.reset(prepared);
}

void SqliteStatement::bind(int index, const std::string& text) {
  check(sqlite3_bind_text(handle_.get(), index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT));
}

bool SqliteStatement::step() {
  const int code = sqlite3_step(handle_.get());
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE) check(code);
  return false;
}

bool SqliteStatement::isNull(int column) const { return sqlite3_column_type(handle_.get(), column) == SQLITE_NULL; }

std::string SqliteStatement::textOf(int column) const {
  const void* text = sqlite3_column_text(handle_.get(), column);
  if (text == nullptr) return {};
  return {static_cast<const char*>(text), static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column))};
}

void SqliteStatement::check(int code) const { console::check(database_, code); }

// Repeats the failure of the last step, which has been reported.
void SqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const {
  static_cast<void>(sqlite3_finalize(statement));
}

}  // namespace console
