// SQLite, as far as the console needs it.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace console {

/// What SQLite reports, in its own words.
class SqliteError : public std::runtime_error {
 public:
  SqliteError(int code, const std::string& message) : std::runtime_error(message), code_(code) {}
  /// Whether the file is of another kind.
  bool isNoDatabase() const noexcept;

 private:
  int code_;
};

/// An open database file. All operations throw `SqliteError`.
class SqliteDatabase {
 public:
  enum class Mode { ReadOnly, ReadWrite };

  /// Opens a file that exists.
  SqliteDatabase(const std::string& file, Mode mode);

  /// Runs all statements of a script.
  void execute(const char* script);

 private:
  friend class SqliteStatement;
  struct Close {
    void operator()(sqlite3* database) const;
  };
  std::unique_ptr<sqlite3, Close> handle_;
};

/// One prepared statement. Its database must outlive it. All operations throw `SqliteError`.
class SqliteStatement {
 public:
  SqliteStatement(const SqliteDatabase& database, const char* sql);

  /// Gives the parameter `index`, from 1, its value.
  void bind(int index, const std::string& text);
  /// True when there is a next row, which the operations below then read, columns counted from 0.
  bool step();
  bool isNull(int column) const;
  std::string textOf(int column) const;

 private:
  void check(int code) const;

  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  sqlite3* database_;
  std::unique_ptr<sqlite3_stmt, Finalize> handle_;
};

}  // namespace console
