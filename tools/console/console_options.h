// SPDX-License-Identifier: Apache-2.0
// The command line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace console {

enum class Command { Ask, Chat, Prompt, Models, Sample };
/// How rows are written.
enum class RowForm { Table, Csv, Json };

/// What the command line asks for: a plain record. Texts that were not given are empty.
struct ConsoleOptions {
  Command command = Command::Ask;
  std::string databaseFile;
  std::string question;    // Ask; of "-" as a part the text of standard input has taken the place
  std::string sampleFile;  // Sample
  std::string provider;
  std::string model;
  std::string host;
  std::string keyFile;
  std::string instructions;
  std::vector<std::string> tables;   // patterns; empty: all
  std::vector<std::string> schemas;  // the same
  std::size_t budget = 8000;         // tokens of the structure with each question; 0: no limit
  std::string caFile;
  std::string proxy;
  std::string noProxy;
  std::optional<std::int32_t> timeoutSeconds;
  bool isRaw = false;           // failures are shown whole
  bool keeps = false;           // Chat: the conversation is stored
  bool continues = false;       // Chat: with the latest one that was
  bool showsStatement = false;  // Ask: the statement alone
  bool runsStatement = false;   // Ask: its rows
  RowForm rowForm = RowForm::Table;
  bool forgetsLines = false;  // Chat: what was typed is not stored
  std::optional<double> temperature;
  std::optional<std::int32_t> maxTokens;
};

/// Reads the command line. Nothing when "--help" or "--version" was asked for and has been printed. Throws `Failure`
/// for what cannot be used. No value of an unknown option is ever repeated: it may be a key.
std::optional<ConsoleOptions> readOptions(int argc, const char* const* argv);

}  // namespace console
