// SPDX-License-Identifier: Apache-2.0
// The structure of a PostgreSQL database, for the prompt of an assistant.
#pragma once

#include <string>

#include "zeakit/structure_builder.h"

struct pg_conn;

namespace zeapostgresql {

/// Reads over an open PGconn, which stays the caller's, in the thread that uses it. All is read at one moment, and
/// afterwards the connection is as it was: inside the caller's transaction a savepoint comes and goes, otherwise a
/// transaction that only reads. Refused while the connection is busy, in pipeline mode or in a failed transaction. All
/// schemas but the system's are read, or those that `includedSchemas` names without patterns. Tables and views that
/// the role may not read are left out with a note.
[[nodiscard]] ZEAKIT_API zeakit::ReadResult readStructure(pg_conn* connection,
                                                          const zeakit::StructureOptions& filter = {});

/// Opens a connection of its own, which cannot write. Takes what psql takes: a URI or "host=... dbname=..."; what it
/// lacks comes from the environment, the service file and the password file. Waits ten seconds to connect unless
/// "connect_timeout" says otherwise. No sentence holds the address's password.
[[nodiscard]] ZEAKIT_API zeakit::ReadResult readStructure(const std::string& address,
                                                          const zeakit::StructureOptions& filter = {});

}  // namespace zeapostgresql
