// SPDX-License-Identifier: Apache-2.0
// Connections of our own to PostgreSQL.
#pragma once

#include <libpq-fe.h>

#include <memory>
#include <string>

namespace zeapostgresql {

struct FreePq {
  void operator()(PGresult* result) const { PQclear(result); }
  void operator()(PGconn* connection) const { PQfinish(connection); }
  void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
  void operator()(PGcancel* cancel) const { PQfreeCancel(cancel); }
};
using Result = std::unique_ptr<PGresult, FreePq>;
using Connection = std::unique_ptr<PGconn, FreePq>;

struct OpenedConnection {
  Connection connection;
  /// A sentence about why there is none, without the address's password; empty when there is.
  std::string error;
};

/// A connection whose transactions only read unless they say otherwise. Takes what psql takes.
OpenedConnection openConnection(const std::string& address);

/// What failed, with the reason that the connection tells.
std::string sentenceOf(const std::string& what, PGconn* connection);

/// Runs what returns no rows.
bool runCommand(PGconn* connection, const char* statement);

}  // namespace zeapostgresql
