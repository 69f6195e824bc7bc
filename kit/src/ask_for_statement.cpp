// SPDX-License-Identifier: Apache-2.0
#include "zeakit/ask_for_statement.h"

#include <zea/zea_owned.h>

#include <utility>

#include "zeakit/reply_parts.h"

namespace zeakit {

namespace {

AskStep ask(IZEAAssistant& assistant, IReadOnlyRunner& runner, std::string question) {
  AskStep step;
  step.question = std::move(question);
  zea::Answer answer = zea::ask(assistant, step.question);
  step.error = std::move(answer.failure);
  if (!answer.isAnswered) return step;
  step.reply = std::move(answer.text);
  step.statement = firstStatement(step.reply);
  if (step.statement.empty()) {
    step.error = "The reply has no statement.";
    return step;
  }
  const StatementCheck checked = runner.check(step.statement);
  step.error = checked.verdict == Verdict::Reads ? runner.explain(step.statement).error : checked.reason;
  return step;
}

/// Tabs and line ends stand between cells and rows.
std::string cellText(const ResultCell& cell) {
  if (cell.isNull) return "NULL";
  if (cell.isBinary) return "(binary)";
  std::string text = cell.value;
  for (char& byte : text) {
    if (byte == '\t' || byte == '\n' || byte == '\r' || byte == '\0') byte = ' ';
  }
  return text;
}

}  // namespace

std::string questionForAnother(const std::string& error) {
  return "The statement can't be run: " + error + "\nWrite one that can be, a single one that only reads.";
}

AskedStatement askForStatement(IZEAAssistant& assistant, IReadOnlyRunner& runner, const std::string& question,
                               const AskOptions& options) {
  AskedStatement asked;
  asked.steps.push_back(ask(assistant, runner, question));
  for (int i = 0; i < options.corrections; ++i) {
    const AskStep& last = asked.steps.back();
    if (last.statement.empty() || last.error.empty()) break;
    asked.steps.push_back(ask(assistant, runner, questionForAnother(last.error)));
  }
  const AskStep& last = asked.steps.back();
  asked.error = last.error;
  if (last.error.empty()) asked.statement = last.statement;
  return asked;
}

std::string questionWithRows(const std::string& question, const StatementResult& result) {
  std::string text = question + "\n\nThe statement returned" + (result.isCut ? ", among more rows" : "") + ":\n";
  const char* separator = "";
  for (const ResultColumn& column : result.columns) {
    text.append(std::exchange(separator, "\t")).append(cellText({column.name, false, false}));
  }
  for (const auto& row : result.rows) {
    separator = "\n";
    for (const ResultCell& cell : row) text.append(std::exchange(separator, "\t")).append(cellText(cell));
  }
  return text;
}

}  // namespace zeakit
