#include "console/sample_database.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "console/failure.h"
#include "console/sqlite_database.h"

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

}  // namespace

void createSampleDatabase(const std::string& file) {
  createNewFile(file);
  try {
    SqliteDatabase(file, SqliteDatabase::Mode::ReadWrite).execute(obtainSampleScript());
  } catch (const SqliteError& error) {
    static_cast<void>(std::remove(file.c_str()));  // an empty file that stays does no harm
    throw Failure(ExitCode::Usage, file + " cannot be written: " + error.what() + ".");
  }
}

}  // namespace console
