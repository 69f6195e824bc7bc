// SPDX-License-Identifier: Apache-2.0
// A statement that can be run, out of a conversation.
#pragma once

#include <zea/izea_assistant.h>

#include <string>
#include <vector>

#include "zeakit/export.h"
#include "zeakit/read_only_runner.h"

namespace zeakit {

struct AskOptions {
  /// How often the model is told why its statement can't be run, and asked for another one.
  int corrections = 1;
};

/// One question and what came of it.
struct AskStep {
  /// As it was sent: the host's, or the one that asks for a correction.
  std::string question;
  /// Empty when the question failed.
  std::string reply;
  /// The first one of the reply; empty when it has none.
  std::string statement;
  /// Why the question failed or the statement can't be run; empty when it can.
  std::string error;
};

struct AskedStatement {
  /// One that the database can run and that only reads; empty when there is none.
  std::string statement;
  /// The last step's error, or empty. A reply without a statement is an error too, and `steps` has its text.
  std::string error;
  /// All questions of the conversation, in their order; at least one.
  std::vector<AskStep> steps;
};

/// Asks a question, takes the statement out of the reply, checks it and has the database explain it; what the check or
/// the database says against it goes back to the model. The statement is never run, and of the database nothing but
/// such a sentence reaches the provider. The questions and replies are turns of the conversation like any others.
/// Blocks on the caller's thread, which uses both.
[[nodiscard]] ZEAKIT_API AskedStatement askForStatement(IZEAAssistant& assistant, IReadOnlyRunner& runner,
                                                        const std::string& question, const AskOptions& options = {});

/// What is asked when a statement can't be run: the error, and for another statement.
[[nodiscard]] ZEAKIT_API std::string questionForAnother(const std::string& error);

/// A question about rows, with these rows: what a host sends when its user wants the provider to see them. One line a
/// row, cells between tabs, binary values left out.
[[nodiscard]] ZEAKIT_API std::string questionWithRows(const std::string& question, const StatementResult& result);

}  // namespace zeakit
