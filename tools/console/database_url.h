// SPDX-License-Identifier: Apache-2.0
// Where a database is, as a URL.
#pragma once

#include <string>

namespace console {

/// The parts of "scheme://user@host:port/database?socket=PATH", decoded; what is missing is empty, or 0.
struct DatabaseUrl {
  std::string user;
  std::string host;
  unsigned port = 0;
  std::string database;
  std::string socket;
};

/// What stands ahead of "://", in lower case; empty for a file.
std::string obtainScheme(const std::string& name);

/// Throws `Failure` when a URL holds a password, of which the sentence repeats nothing: lists of programs show command
/// lines to everybody.
void refusePassword(const std::string& url);

/// The parts of a URL for MariaDB or MySQL; libpq reads its own. Throws `Failure` for a port that is none.
DatabaseUrl readDatabaseUrl(const std::string& url);

}  // namespace console
