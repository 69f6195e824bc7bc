// Database files opened without a write to them or beside them.
#pragma once

#include <memory>
#include <string>

struct sqlite3;

namespace zeasqlite {

struct CloseConnection {
  void operator()(sqlite3* connection) const;
};

struct OpenedFile {
  std::unique_ptr<sqlite3, CloseConnection> connection;
  /// A sentence about why there is none; empty when there is.
  std::string error;
};

/// Opens a regular file for reading. Whether it holds a database shows with the first statement.
OpenedFile openReadOnly(const std::string& file);

}  // namespace zeasqlite
