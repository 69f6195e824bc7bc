// SPDX-License-Identifier: Apache-2.0
#include "console/defaults.h"

#include <qx/qx.h>
#include <strings.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "console/failure.h"
#include "console/personal_files.h"

namespace console {

namespace {

/// The settings of one origin.
struct Settings {
  std::string provider, model, host, database;
  bool keeps = false;
  bool forgetsLines = false;
};

std::string textOf(const char* variable) {
  const char* const value = std::getenv(variable);
  return value == nullptr ? "" : value;
}

Failure cannotUse(const std::string& file, int line, const std::string& why) {
  return {ExitCode::Usage, file + ", line " + std::to_string(line) + ": " + why};
}

bool isYes(const std::string& value, const std::string& file, int line) {
  if (value != "yes" && value != "no") throw cannotUse(file, line, "the value is to be yes or no.");
  return value == "yes";
}

void readLine(const std::string& text, const std::string& file, int line, Settings& settings) {
  const std::size_t sign = text.find('=');
  const std::string name = qxTrimAsString(text.substr(0, sign));
  const std::string value = sign == text.npos ? "" : qxTrimAsString(text.substr(sign + 1));
  if (value.empty()) throw cannotUse(file, line, "a line is a name, = and a value.");
  if (name == "provider") {
    settings.provider = value;
  } else if (name == "model") {
    settings.model = value;
  } else if (name == "host") {
    settings.host = value;
  } else if (name == "db") {
    settings.database = value;
  } else if (name == "keep") {
    settings.keeps = isYes(value, file, line);
  } else if (name == "history") {
    settings.forgetsLines = !isYes(value, file, line);
  } else {
    // A key may stand there: nothing of the line is repeated.
    throw cannotUse(file, line, "there are provider, model, host, db, keep and history; keys are never kept here.");
  }
}

Settings readFile() {
  Settings settings;
  const std::string folder = obtainConfigFolder();
  if (folder.empty()) return settings;
  const std::string file = folder + "/config";
  std::ifstream stream(file);
  std::string text;
  for (int line = 1; std::getline(stream, text); ++line) {
    const std::string trimmed = qxTrimAsString(text);
    if (!trimmed.empty() && trimmed[0] != '#') readLine(trimmed, file, line, settings);
  }
  return settings;
}

void fillIn(ConsoleOptions& options, const Settings& settings, const char* origin) {
  if (!settings.host.empty() && settings.provider.empty()) {
    throw Failure(ExitCode::Usage, std::string(origin) + " names a host without the provider that it is for.");
  }
  if (options.databaseFile.empty()) options.databaseFile = settings.database;
  if (options.provider.empty()) options.provider = settings.provider;
  const bool isOfAnother =
      !settings.provider.empty() && ::strcasecmp(options.provider.c_str(), settings.provider.c_str()) != 0;
  if (isOfAnother) return;
  if (options.model.empty()) options.model = settings.model;
  if (options.host.empty()) options.host = settings.host;
}

}  // namespace

void fillInDefaults(ConsoleOptions& options) {
  Settings environment;
  environment.provider = textOf("ZEA_PROVIDER");
  environment.model = textOf("ZEA_MODEL");
  environment.host = textOf("ZEA_HOST");
  environment.database = textOf("ZEA_DB");
  const Settings file = readFile();
  fillIn(options, environment, "The environment");
  fillIn(options, file, "The file of settings");
  options.keeps = options.keeps || file.keeps;
  options.forgetsLines = options.forgetsLines || file.forgetsLines;
}

}  // namespace console
