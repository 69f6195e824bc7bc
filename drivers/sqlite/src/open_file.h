// SPDX-License-Identifier: Apache-2.0
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

/// How a file is opened at this moment; a moment later it may be another way.
struct OpenPlan {
  /// Of the URI; with static lifetime.
  const char* parameters = nullptr;
  /// Whether changes by others stay unseen, so that the file is opened anew each time.
  bool isSnapshot = false;
  /// A sentence about why it can't be opened, or empty.
  std::string error;
};
OpenPlan planToOpen(const std::string& file);

/// Opens a regular file for reading. Whether it holds a database shows with the first statement.
OpenedFile openReadOnly(const std::string& file);
OpenedFile openReadOnly(const std::string& file, const OpenPlan& plan);

}  // namespace zeasqlite
