// SPDX-License-Identifier: Apache-2.0
// The structure of the databases of a MariaDB or MySQL server, for the prompt of an assistant.
#pragma once

#include <string>

#include "zeakit/structure_builder.h"
#include "zeamariadb/address.h"

struct st_mysql;

namespace zeamariadb {

/// Reads over an open MYSQL, which stays the caller's, in the thread that uses it; neither a transaction of the caller
/// nor the session's settings change. Refused while results wait on the connection. All databases that the user sees
/// but the system's are read, or those that `includedSchemas` names without patterns. The server tells of nothing that
/// the user may not see.
[[nodiscard]] ZEAKIT_API zeakit::ReadResult readStructure(st_mysql* connection,
                                                          const zeakit::StructureOptions& filter = {});

/// Opens a connection of its own, whose transactions cannot write and which sends the server no file. Waits ten seconds
/// to connect. No sentence holds the password.
[[nodiscard]] ZEAKIT_API zeakit::ReadResult readStructure(const Address& address,
                                                          const zeakit::StructureOptions& filter = {});

}  // namespace zeamariadb
