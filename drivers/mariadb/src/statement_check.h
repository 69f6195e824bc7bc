// SPDX-License-Identifier: Apache-2.0
// What the words of a statement tell, read as MariaDB and MySQL read them.
#pragma once

#include <string>
#include <vector>

#include "zeakit/read_only_runner.h"

namespace zeamariadb {

struct CheckedStatement {
  zeakit::StatementCheck check;
  /// Names ahead of a parenthesis, in lower case, without their databases.
  std::vector<std::string> functions;
  /// Whether it is EXPLAIN, SHOW or DESCRIBE already.
  bool isExplained = false;
};

/// Without a server. REQUIRES of the session that runs it: no NO_BACKSLASH_ESCAPES.
CheckedStatement checkStatement(const std::string& sql);

}  // namespace zeamariadb
