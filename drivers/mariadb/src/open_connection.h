// SPDX-License-Identifier: Apache-2.0
// Connections of our own to MariaDB and MySQL.
#pragma once

#include <mysql.h>

#include <memory>
#include <string>

#include "zeamariadb/address.h"

namespace zeamariadb {

struct CloseMySql {
  void operator()(MYSQL* connection) const { mysql_close(connection); }
};
using Connection = std::unique_ptr<MYSQL, CloseMySql>;

struct OpenedConnection {
  Connection connection;
  /// A sentence about why there is none, without the password; empty when there is.
  std::string error;
};

/// A connection whose transactions only read unless they say otherwise. A packet of the server, which holds at most a
/// row, may be as large as `largestPacket`; 0: as the client has it.
OpenedConnection openConnection(const Address& address, unsigned long largestPacket = 0);

/// What failed, with the reason that the connection tells.
std::string sentenceOf(const std::string& what, MYSQL* connection);

/// Runs a statement; rows, if it has any, wait on the connection.
bool runCommand(MYSQL* connection, const std::string& statement);

}  // namespace zeamariadb
