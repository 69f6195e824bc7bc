// SPDX-License-Identifier: Apache-2.0
// Statements over a MariaDB or MySQL server that only read.
#pragma once

#include "zeakit/read_only_runner.h"
#include "zeamariadb/address.h"

namespace zeamariadb {

/// A runner over a connection of its own, which is opened as `readStructure` opens it, and again where it was lost.
/// These layers keep a statement from doing more than reading: its words, of which the first is SELECT, WITH, VALUES,
/// TABLE, SHOW, DESCRIBE or EXPLAIN, none stands for files, locks, variables or another statement, and none calls
/// what waits, locks, reads files or is stored in the database; the protocol of prepared statements, which takes one
/// statement; a transaction that only reads and is rolled back, with a time limit of the server's. What a view calls is
/// held by the transaction alone, and functions that were loaded into the server under names of their own aren't known
/// to the check. A row beyond 64 MiB, or one beyond the limit on bytes once it has arrived, ends the
/// statement.
[[nodiscard]] ZEAKIT_API zeakit::OpenedRunner openReadOnlyRunner(const Address& address);

}  // namespace zeamariadb
