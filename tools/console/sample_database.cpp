// SPDX-License-Identifier: Apache-2.0
#include "console/sample_database.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

#include "console/failure.h"

namespace console {

namespace {

// SQLite would open a file that exists; the system alone creates one and can tell that it did.
void createNewFile(const std::string& file) {
  constexpr mode_t readableByAll = 0644;
  const int descriptor = ::open(file.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, readableByAll);
  if (descriptor < 0 && errno == EEXIST) {
    throw Failure(ExitCode::Usage, file + " exists already and is left as it is.");
  }
  if (descriptor < 0) {
    throw Failure(ExitCode::Usage, file + " cannot be created: " + std::generic_category().message(errno) + ".");
  }
  static_cast<void>(::close(descriptor));  // nothing has been written
}

/// In SQLite's words why the script failed, or nothing.
std::string runScript(const std::string& file, const char* script) {
  const auto close = [](sqlite3* database) { static_cast<void>(sqlite3_close(database)); };
  sqlite3* opened = nullptr;
  int code = sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
  const std::unique_ptr<sqlite3, decltype(close)> database(opened, close);  // after a failure too
  if (code == SQLITE_OK) code = sqlite3_exec(opened, script, nullptr, nullptr, nullptr);
  return code == SQLITE_OK ? "" : sqlite3_errmsg(opened);
}

}  // namespace

void createSampleDatabase(const std::string& file) {
  createNewFile(file);
  const std::string failure = runScript(file, obtainSampleScript());
  if (failure.empty()) return;
  static_cast<void>(std::remove(file.c_str()));  // an empty file that stays does no harm
  throw Failure(ExitCode::Usage, file + " cannot be written: " + failure + ".");
}

}  // namespace console
