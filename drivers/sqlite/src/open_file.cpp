// SPDX-License-Identifier: Apache-2.0
#include "open_file.h"

#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace zeasqlite {

namespace {

namespace fs = std::filesystem;

// As long as another program may be writing.
constexpr int kBusyMilliseconds = 5000;

/// Percent-encoded, so that no byte of the path means anything in a URI.
std::string uriOf(const std::string& file, const char* parameters) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string uri = "file:";
  for (const char byte : fs::absolute(file).string()) {
    const auto value = static_cast<unsigned char>(byte);
    uri += '%';
    uri += kDigits[value >> 4U];
    uri += kDigits[value & 15U];
  }
  return uri + parameters;
}

bool isWalDatabase(const std::string& file) {
  std::string header(20, '\0');
  std::ifstream(file, std::ios::binary).read(header.data(), 20);
  return header[19] == 2;  // the version that a reader needs
}

/// A sentence about what is no file to open, or nothing.
std::string refusalOf(const std::string& file) {
  std::error_code failure;
  const auto type = fs::status(file, failure).type();
  if (type == fs::file_type::not_found) return "There is no file " + file + ".";
  if (failure) return file + " cannot be opened: " + failure.message() + ".";
  if (type == fs::file_type::directory) return file + " is a directory, not a database.";
  return type == fs::file_type::regular ? "" : file + " is no regular file.";
}

}  // namespace

// The only failure is a statement that is still open, and none outlives its function here.
void CloseConnection::operator()(sqlite3* connection) const { static_cast<void>(sqlite3_close(connection)); }

OpenPlan planToOpen(const std::string& file) {
  OpenPlan plan{"?mode=ro", false, refusalOf(file)};
  if (!plan.error.empty() || !isWalDatabase(file)) return plan;
  std::error_code failure;
  const auto logSize = fs::file_size(file + "-wal", failure);
  const bool hasLog = !failure;
  const bool hasLogIndex = fs::exists(file + "-shm", failure);
  if (hasLog && hasLogIndex) {
    // An index that a program left behind when it died is not mended; SQLite makes one of its own in memory.
    plan.parameters = "?mode=ro&readonly_shm=1";
  } else if (hasLog && logSize > 0) {
    // SQLite would make the index beside it.
    plan.error = file + " has a log of changes that no program has open; open it once with one that may write.";
  } else {
    plan.parameters = "?mode=ro&immutable=1";  // no log: SQLite would make an empty one
    plan.isSnapshot = true;
  }
  return plan;
}

OpenedFile openReadOnly(const std::string& file) { return openReadOnly(file, planToOpen(file)); }

OpenedFile openReadOnly(const std::string& file, const OpenPlan& plan) {
  OpenedFile opened{nullptr, plan.error};
  if (!opened.error.empty()) return opened;
  sqlite3* connection = nullptr;
  const int code = sqlite3_open_v2(uriOf(file, plan.parameters).c_str(), &connection,
                                   SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
  opened.connection.reset(connection);  // there is one to close after a failure too
  if (code != SQLITE_OK) {
    opened.error = file + " cannot be opened: " + sqlite3_errmsg(connection) + ".";
  } else {
    sqlite3_busy_timeout(connection, kBusyMilliseconds);
  }
  return opened;
}

}  // namespace zeasqlite
