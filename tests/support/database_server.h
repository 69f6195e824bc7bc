// SPDX-License-Identifier: Apache-2.0
// Database servers that a test starts for itself, on a socket in a folder of its own.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace support {

/// A server that ends with the test's process, however that ends. Throws `std::runtime_error` with what the server
/// said when it does not come up. As root it runs as the account that its package made.
class DatabaseServer {
 public:
  DatabaseServer(const DatabaseServer&) = delete;
  DatabaseServer& operator=(const DatabaseServer&) = delete;
  ~DatabaseServer();

  /// Where its socket is, and its data.
  const std::filesystem::path& folder() const { return folder_; }

 protected:
  explicit DatabaseServer(const char* account);
  /// Runs a program in the account to its end.
  void prepare(const std::vector<std::string>& command);
  /// Starts the server and returns once it has said that.
  void start(const std::vector<std::string>& command, const std::string& readyText);

 private:
  pid_t spawn(const std::vector<std::string>& command, int output) const;

  const char* account_;
  std::filesystem::path folder_;
  pid_t server_ = -1;
};

/// With the superuser "zea" and the database "postgres"; text is UTF-8.
class PostgreSqlServer : public DatabaseServer {
 public:
  PostgreSqlServer();
};

/// With the user "zea", who may do all. Its socket is "s".
class MariaDbServer : public DatabaseServer {
 public:
  MariaDbServer();
};

}  // namespace support
