// SPDX-License-Identifier: Apache-2.0
// zea: talk with a chat model about a database, at a terminal.
#include <exception>

#include "console/chat.h"
#include "console/console_options.h"
#include "console/console_output.h"
#include "console/database.h"
#include "console/failure.h"
#include "console/http_settings.h"
#include "console/provider.h"
#include "console/sample_database.h"
#include "console/session.h"

namespace {

using namespace console;

ExitCode answerWithStatement(Session& session, const Database& database, const ConsoleOptions& options) {
  const auto runner = database.openRunner();
  const std::string statement = session.askForStatement(options.question, *runner);
  if (options.showsStatement) {
    printAnswer(statement);
    return ExitCode::Success;
  }
  printNote(statement);
  const auto result = runner->run(statement);
  printRows(result, options.rowForm);
  return result.error.empty() ? ExitCode::Success : ExitCode::Refused;
}

ExitCode talk(const ConsoleOptions& options) {
  // The file first: it is looked at without a key, without the network and without a prompt for either.
  Database database(options);
  const auto structure = database.read();
  const auto session = options.command == Command::Prompt ? Session::createOffline(options) : Session::connect(options);
  session->describeDatabase(structure);
  if (options.command == Command::Chat) {
    if (options.keeps || options.continues) session->keepConversation(options.continues);
    return runChat(*session, database, !options.forgetsLines);
  }
  if (options.command == Command::Prompt) {
    printText(session->obtainPrompt());
  } else if (options.showsStatement || options.runsStatement) {
    return answerWithStatement(*session, database, options);
  } else {
    printAnswer(session->ask(options.question));
  }
  return ExitCode::Success;
}

void listModels(const ConsoleOptions& options) {
  if (!options.provider.empty()) {
    const Provider provider = findProvider(options.provider);
    if (!provider.listsModels) {
      return printNote(std::string(provider.name) + " has no listing of models; its documentation names them.");
    }
  }
  for (const std::string& model : Session::connect(options)->listModels()) printAnswer(model);
}

ExitCode run(const ConsoleOptions& options) {
  applyHttpSettings(options);
  if (options.command == Command::Models) {
    listModels(options);
    return ExitCode::Success;
  }
  if (options.command == Command::Sample) {
    createSampleDatabase(options.sampleFile);
    printNote("Created " + options.sampleFile + ".");
    return ExitCode::Success;
  }
  return talk(options);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const auto options = readOptions(argc, argv);
    return static_cast<int>(options ? run(*options) : ExitCode::Success);
  } catch (const Failure& failure) {
    printNote(failure.what());
    return static_cast<int>(failure.code());
  } catch (const std::exception& error) {
    printNote(std::string("zea cannot go on: ") + error.what());
    return static_cast<int>(ExitCode::Refused);
  }
}
