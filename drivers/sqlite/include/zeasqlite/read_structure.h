// SPDX-License-Identifier: Apache-2.0
// The structure of an SQLite database, for the prompt of an assistant.
#pragma once

#include <string>

#include "zeakit/structure_builder.h"

struct sqlite3;

namespace zeasqlite {

/// Reads the main database of an open connection, which stays the caller's, in the thread that may use it. A view or a
/// virtual table that SQLite cannot resolve is left out with a note.
[[nodiscard]] ZEAKIT_API zeakit::ReadResult readStructure(sqlite3* connection,
                                                          const zeakit::StructureOptions& filter = {});

/// Reads a file, which is never written, nor anything beside it: a WAL database without a log is read as it stands, one
/// whose log holds changes only while its index lies beside it. What is no regular file is refused.
[[nodiscard]] ZEAKIT_API zeakit::ReadResult readStructure(const std::string& file,
                                                          const zeakit::StructureOptions& filter = {});

}  // namespace zeasqlite
