// SPDX-License-Identifier: Apache-2.0
#include "open_connection.h"

namespace zeapostgresql {

std::string sentenceOf(const std::string& what, PGconn* connection) {
  std::string reason = PQerrorMessage(connection);
  while (!reason.empty() && reason.back() == '\n') reason.pop_back();
  return what + (reason.empty() ? "." : ": " + reason);
}

bool runCommand(PGconn* connection, const char* statement) {
  const Result result(PQexec(connection, statement));
  return PQresultStatus(result.get()) == PGRES_COMMAND_OK;
}

OpenedConnection openConnection(const std::string& address) {
  OpenedConnection opened;
  // What libpq says about an address that it cannot read holds pieces of it, perhaps the password.
  const std::unique_ptr<PQconninfoOption, FreePq> options(PQconninfoParse(address.c_str(), nullptr));
  if (options == nullptr || address.find('\0') != std::string::npos) {
    opened.error = "The address of the database cannot be read.";
    return opened;
  }
  // Later ones win, so the address has the last word.
  const char* const names[] = {"connect_timeout", "fallback_application_name", "dbname", nullptr};
  const char* const values[] = {"10", "zea", address.c_str(), nullptr};
  opened.connection.reset(PQconnectdbParams(names, values, 1));
  if (opened.connection == nullptr) {
    opened.error = "There is no memory for a connection.";
    return opened;
  }
  // Otherwise libpq writes what the server notes to the host's standard error.
  PQsetNoticeProcessor(
      opened.connection.get(), [](void*, const char*) {}, nullptr);
  if (PQstatus(opened.connection.get()) != CONNECTION_OK ||
      !runCommand(opened.connection.get(), "SET default_transaction_read_only = on")) {
    opened.error = sentenceOf("The database cannot be opened", opened.connection.get());
  }
  return opened;
}

}  // namespace zeapostgresql
