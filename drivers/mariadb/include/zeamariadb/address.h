// SPDX-License-Identifier: Apache-2.0
// Where a MariaDB or MySQL server is.
#pragma once

#include <string>

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

}  // namespace zeamariadb
