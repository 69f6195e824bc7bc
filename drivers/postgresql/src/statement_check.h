// SPDX-License-Identifier: Apache-2.0
// What PostgreSQL's parser tells of a statement.
#pragma once

#include <string>
#include <vector>

#include "zeakit/read_only_runner.h"

namespace zeapostgresql {

struct CheckedStatement {
  zeakit::StatementCheck check;
  /// Of the functions that it calls by name, without their schemas.
  std::vector<std::string> functions;
  /// Whether it is EXPLAIN or SHOW already.
  bool isExplained = false;
};

/// Without a server: whether the parser finds one statement of a class that reads.
CheckedStatement checkStatement(const std::string& sql);

}  // namespace zeapostgresql
