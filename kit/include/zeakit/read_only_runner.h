// SPDX-License-Identifier: Apache-2.0
// Statements that only read, run within limits.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "zeakit/export.h"

namespace zeakit {

enum class Verdict { Reads, Refused, SeveralStatements };

struct StatementCheck {
  Verdict verdict = Verdict::Refused;
  /// A sentence about why it isn't run, in the database's words where it can't be read at all; empty when it reads.
  std::string reason;
};

struct RunLimits {
  /// Rows that are returned.
  std::size_t rows = 1000;
  /// Bytes of all values that are returned.
  std::size_t bytes = std::size_t{16} * 1024 * 1024;
  /// From the sending of the statement to its last row.
  std::chrono::milliseconds time = std::chrono::seconds(30);
};

struct ResultColumn {
  std::string name;
  /// As the database names it; empty where it has none, as for an expression in SQLite.
  std::string type;
};

struct ResultCell {
  /// The database's text for the value, or the bytes of a binary one.
  std::string value;
  bool isNull = false;
  bool isBinary = false;
};

struct StatementResult {
  /// One without rows.
  static StatementResult failed(std::string error) {
    StatementResult result;
    result.error = std::move(error);
    return result;
  }

  std::vector<ResultColumn> columns;
  std::vector<std::vector<ResultCell>> rows;
  /// Whether there are more rows than the limits on rows and bytes let through.
  bool isCut = false;
  /// A sentence about what ended the statement; empty when it ran. The rows until then are there.
  std::string error;
};

/// Runs statements that read, and no others. A statement is checked ahead of every run; the check alone is not what
/// keeps it from writing. Each driver says which layers do. One thread at a time, but for `cancel`.
class ZEAKIT_API IReadOnlyRunner {
 public:
  virtual ~IReadOnlyRunner() = default;

  /// Whether it would be run. Nothing of it is.
  [[nodiscard]] virtual StatementCheck check(const std::string& sql) = 0;
  /// How the database would run it, in rows of the database's form; none for what is EXPLAIN or SHOW already. The
  /// statement is not run.
  [[nodiscard]] virtual StatementResult explain(const std::string& sql) = 0;
  [[nodiscard]] virtual StatementResult run(const std::string& sql, const RunLimits& limits = {}) = 0;
  /// Ends the statement that is running; when none is, nothing happens. Returns at once. Any thread, while the
  /// runner lives.
  virtual void cancel() noexcept = 0;
};

/// What a driver gives.
struct OpenedRunner {
  std::unique_ptr<IReadOnlyRunner> runner;
  /// A sentence about why there is none; empty when there is.
  std::string error;
};

}  // namespace zeakit
