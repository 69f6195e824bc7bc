// SPDX-License-Identifier: Apache-2.0
#include "open_connection.h"

#include <mutex>

namespace zeamariadb {

std::string sentenceOf(const std::string& what, MYSQL* connection) {
  const std::string reason = mysql_error(connection);
  return what + (reason.empty() ? "." : ": " + reason + ".");
}

bool runCommand(MYSQL* connection, const std::string& statement) {
  return mysql_real_query(connection, statement.data(), static_cast<unsigned long>(statement.size())) == 0;
}

OpenedConnection openConnection(const Address& address, unsigned long largestPacket) {
  static std::once_flag once;  // mysql_init is not for several threads the first time
  std::call_once(once, [] { mysql_library_init(0, nullptr, nullptr); });
  OpenedConnection opened;
  opened.connection.reset(mysql_init(nullptr));
  MYSQL* const connection = opened.connection.get();
  if (connection == nullptr) {
    opened.error = "There is no memory for a connection.";
    return opened;
  }
  const unsigned seconds = 10;
  const unsigned noFiles = 0;  // otherwise a server may ask for any file of the host's
  mysql_options(connection, MYSQL_READ_DEFAULT_GROUP, "client");
  mysql_options(connection, MYSQL_OPT_CONNECT_TIMEOUT, &seconds);
  mysql_options(connection, MYSQL_OPT_LOCAL_INFILE, &noFiles);
  if (largestPacket > 0) mysql_options(connection, MYSQL_OPT_MAX_ALLOWED_PACKET, &largestPacket);
  const auto textOf = [](const std::string& text) { return text.empty() ? nullptr : text.c_str(); };
  if (mysql_real_connect(connection, textOf(address.host), textOf(address.user), textOf(address.password),
                         textOf(address.database), address.port, textOf(address.socket), 0) == nullptr ||
      !runCommand(connection, "SET SESSION TRANSACTION READ ONLY")) {
    opened.error = sentenceOf("The database cannot be opened", connection);
  }
  return opened;
}

}  // namespace zeamariadb
