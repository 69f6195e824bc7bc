// SPDX-License-Identifier: Apache-2.0
// What a chat does with the statement of an answer.
#pragma once

#include <zeakit/read_only_runner.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace console {

/// Holds the latest statement and what came of it. Operations that fail throw `Failure`.
class StatementDesk {
 public:
  /// `openRunner` is called when a statement is to be run for the first time, and may throw `Failure`.
  explicit StatementDesk(std::function<std::unique_ptr<zeakit::IReadOnlyRunner>()> openRunner)
      : openRunner_(std::move(openRunner)) {}

  /// Takes the first statement of an answer, if it has one; otherwise none is there.
  void take(const std::string& answer);
  void clear() { take({}); }

  /// Shows the statement, asks at a terminal whether to run it, and shows its rows. Ctrl-C ends it.
  void run();
  /// Shows how the database would run it.
  void explain();
  /// Opens it in the user's editor; what is saved there is the statement from then on.
  void edit();
  /// Hands it to the terminal, whose clipboard has it then.
  void copy() const;

  /// A question that tells the model why the statement can't be run; nothing when no failed one is there.
  std::optional<std::string> describeFailure() const;
  /// The question with the rows that were shown last. Throws `Failure` when there are none.
  std::string addRows(const std::string& question) const;
  std::size_t rowCount() const { return result_ ? result_->rows.size() : 0; }

 private:
  const std::string& requireStatement() const;
  zeakit::IReadOnlyRunner& requireRunner();

  std::function<std::unique_ptr<zeakit::IReadOnlyRunner>()> openRunner_;
  std::unique_ptr<zeakit::IReadOnlyRunner> runner_;
  std::string statement_;
  std::optional<zeakit::StatementResult> result_;
};

}  // namespace console
