// SPDX-License-Identifier: Apache-2.0
// Statements over an SQLite file that only read.
#pragma once

#include <string>

#include "zeakit/read_only_runner.h"

namespace zeasqlite {

/// A runner over a regular file, which is opened as `readStructure` opens it: nothing is written, to the file or beside
/// it. Beside the check, these layers keep a statement from doing more than reading: the file is open for reading only;
/// an authorizer allows SELECT, columns, recursion and functions alone, but for those that load or read other files;
/// what does not return rows isn't run; values and rows end at 1 MiB, LIKE patterns at 1,000 bytes, since SQLite's
/// functions over one value can't be interrupted; what sorts and joins keep in memory ends at 256 MiB, as far as
/// SQLite counts its memory, which other connections of the process use too.
[[nodiscard]] ZEAKIT_API zeakit::OpenedRunner openReadOnlyRunner(const std::string& file);

}  // namespace zeasqlite
