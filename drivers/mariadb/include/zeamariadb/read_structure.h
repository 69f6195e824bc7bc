// The structure of the databases of a MariaDB or MySQL server, for the prompt of an assistant.
#pragma once

#include <string>

#include "zeakit/structure_builder.h"

struct st_mysql;

namespace zeamariadb {

/// Where a server is, and who asks. What is empty comes from the option files of the client, from their groups
/// "[client]" and "[client-server]", or is the client's default; passwords are best kept there.
struct Address {
  std::string host;
  unsigned port = 0;
  std::string socket;
  std::string user;
  std::string password;
  /// Also the only one that is read, unless the filter includes others.
  std::string database;
};

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
