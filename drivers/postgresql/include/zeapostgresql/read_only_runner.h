// SPDX-License-Identifier: Apache-2.0
// Statements over a PostgreSQL database that only read.
#pragma once

#include <string>

#include "zeakit/read_only_runner.h"

namespace zeapostgresql {

struct RunnerOptions {
  /// Takes a superuser, or a role that may write files or run programs on the server.
  bool allowsPowerfulRole = false;
};

/// A runner over a connection of its own, which is opened as `readStructure` opens it, and again where it was lost.
/// These layers keep a statement from doing more than reading: PostgreSQL's own parser, of which SELECT, VALUES, SHOW
/// and EXPLAIN of these are let through, without INTO and without locks; functions, of which only those of the system
/// are called that are not volatile, and a few harmless ones that are; the extended protocol, which takes one
/// statement; a transaction that only reads and is rolled back, with time limits of its own; a role that can't do more.
/// What a view or an operator calls is held by the transaction and the role alone. libpq takes a row as a whole: one
/// beyond the limit on bytes is dropped once it has arrived.
[[nodiscard]] ZEAKIT_API zeakit::OpenedRunner openReadOnlyRunner(const std::string& address,
                                                                 const RunnerOptions& options = {});

}  // namespace zeapostgresql
