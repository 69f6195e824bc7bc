// SPDX-License-Identifier: Apache-2.0
#include "console/console_options.h"

#include <qx/qx.h>
#include <zea/zea_version.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <iostream>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

#include "console/defaults.h"
#include "console/failure.h"
#include "console/help_text.h"
#include "console/provider.h"

namespace console {

namespace {

constexpr const char* kExamples =
    "Talk with a chat model about a database.\n\n"
    "Examples:\n"
    "  zea sample shop.db                                a database to try with\n"
    "  zea chat --db shop.db                             a conversation\n"
    "  zea ask --db shop.db \"Which orders are open?\"    one question\n"
    "  zea ask --db shop.db --run \"Which ...?\"          its statement, run, as rows\n"
    "  zea ask --db shop.db --sql \"Which ...?\" | sqlite3 shop.db\n"
    "  zea chat --db postgresql://me@host/shop --provider openai --model gpt-4o\n";
// Where the descriptions of options begin.
constexpr std::size_t kDescriptionColumn = 28;

std::string writeFooter() {
  return "Without a provider a stand-in on this machine answers: it knows the database's\n"
         "tables, but it is no model.\n\n"
         "Keys are never arguments. They come from --key-file, from the provider's\n"
         "environment variable, or are asked for at a terminal:\n" +
         listKeyVariables() +
         "\nZEA_PROVIDER, ZEA_MODEL, ZEA_HOST and ZEA_DB stand for these options, and so do\n"
         "lines such as \"provider = openai\" in ~/.config/zea/config, where \"keep = yes\" and\n"
         "\"history = no\" may stand, too.\n\n"
         "Answers go to standard output, everything else to standard error.\n\n"
         "Exit codes: 0 answered; 1 the provider refused or its answer could not be used;\n"
         "2 the command line, or what it names, cannot be used; 3 the provider could not\n"
         "be reached; 4 the model answered with nothing. A chat ends with 0 at a\n"
         "terminal; otherwise with the code of its last question.";
}

/// The words of a question; one that is "-" stands for standard input, which begins a paragraph.
std::string joinQuestion(const std::vector<std::string>& parts) {
  std::string question;
  for (const std::string& part : parts) {
    std::string text = part;
    if (part == "-") text.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    question += (question.empty() ? "" : part == "-" ? "\n\n" : " ") + text;
  }
  if (qxTrimAsString(question).empty()) throw Failure(ExitCode::Usage, "The question is empty.");
  return question;
}

/// An empty value is a variable that was not set more often than a wish: a key would go to a host that nobody meant.
CLI::Validator isGiven() {
  return {[](std::string& value) { return std::string(value.empty() ? "the value is empty" : ""); }, "", "given"};
}

class OptionsReader {
 public:
  OptionsReader() : app_(kExamples, "zea") {
    app_.get_formatter()->column_width(kDescriptionColumn);
    app_.set_version_flag("--version", "zea " ZEA_VERSION);
    app_.require_subcommand(1);
    addAsk();
    CLI::App* chat = addDatabaseCommand(Command::Chat, "chat", "Talk about a database, line by line");
    chat->add_flag("--keep", options_.keeps, "Keep the conversation in a file of your own, for --continue");
    chat->add_flag("--continue", options_.continues, "Go on with the conversation that was kept last");
    chat->add_flag("--no-history", options_.forgetsLines, "Keep no file of the lines that were typed");
    addPrompt();
    addModels();
    addSample();
    app_.footer(writeFooter());  // of this help only
  }

  std::optional<ConsoleOptions> read(int argc, const char* const* argv) {
    try {
      app_.parse(argc, argv);
    } catch (const CLI::ExtrasError&) {
      throw Failure(ExitCode::Usage, describeUnexpected(argc, argv));
    } catch (const CLI::CallForHelp&) {
      std::cout << wrapHelp(app_.help(), kDescriptionColumn);
      return std::nullopt;
    } catch (const CLI::Success& asked) {
      static_cast<void>(app_.exit(asked));  // prints what was asked for; its code is 0
      return std::nullopt;
    } catch (const CLI::RequiredError& error) {
      throw Failure(ExitCode::Usage, describeMissing(argc, argv, error.what()));
    } catch (const CLI::ParseError& error) {
      throw Failure(ExitCode::Usage, std::string(error.what()) + ". See zea --help.");
    }
    fillInDefaults(options_);
    check();
    if (options_.command == Command::Ask) options_.question = joinQuestion(question_);
    return std::move(options_);
  }

 private:
  CLI::Option* addDatabase(CLI::App& command) {
    return command
        .add_option("--db", options_.databaseFile,
                    "An SQLite file, or a URL such as postgresql://me@host/db or mysql://me@host/db; only read")
        ->check(isGiven())
        ->type_name("DATABASE");
  }

  CLI::App* addCommand(Command command, const char* name, const char* description) {
    CLI::App* added = app_.add_subcommand(name, description);
    added->callback([this, command] { options_.command = command; });
    return added;
  }

  CLI::App* addDatabaseCommand(Command command, const char* name, const char* description) {
    CLI::App* added = addCommand(command, name, description);
    addDatabase(*added);
    added->add_option("--model", options_.model, "The model to ask")->check(isGiven())->type_name("NAME");
    addProviderOptions(*added);
    addInstructions(*added);
    added
        ->add_option(
            "--budget", options_.budget,
            "Tokens that the tables of a question may take, 8000 unless you say otherwise: that holds what nine "
            "questions of ten need of hundreds of tables. 0: always all tables")
        ->type_name("TOKENS");
    added->add_option("--temperature", options_.temperature, "Sampling temperature, such as 0.2; from 0 to 2")
        ->check(isGiven())
        ->check(CLI::Range(0.0, 2.0))
        ->option_text("NUMBER");
    added->add_option("--max-tokens", options_.maxTokens, "The longest reply, in tokens; for anthropic only")
        ->check(CLI::Range(1, std::numeric_limits<std::int32_t>::max()))
        ->option_text("NUMBER");
    return added;
  }

  void addProviderOptions(CLI::App& command) {
    command.add_option("--provider", options_.provider, "One of " + listProviders())
        ->check(isGiven())
        ->type_name("NAME");
    command.add_option("--host", options_.host, "A host or base URL instead of the provider's own")
        ->check(isGiven())
        ->type_name("HOST");
    command.add_option("--key-file", options_.keyFile, "A file whose first line is the provider's key")
        ->check(isGiven())
        ->type_name("FILE");
    command.add_flag("--raw", options_.isRaw, "Show what a server says when it fails as it stands");
    command.add_option("--ca-file", options_.caFile, "Certificate authorities to trust instead of the system's (PEM)")
        ->check(isGiven())
        ->type_name("FILE");
    command.add_option("--proxy", options_.proxy, "The proxy to use; without it HTTPS_PROXY or ALL_PROXY counts")
        ->check(isGiven())
        ->type_name("URL");
    command
        .add_option("--no-proxy", options_.noProxy, "Hosts to reach directly, * for all; without it NO_PROXY counts")
        ->check(isGiven())
        ->type_name("HOSTS");
    command
        .add_option("--timeout", options_.timeoutSeconds, "How long an answer may take; 600 unless you say otherwise")
        ->check(CLI::Range(1, 86400))
        ->option_text("SECONDS");
  }

  void addInstructions(CLI::App& command) {
    command
        .add_option("--tables", options_.tables, "Only tables of that name, * for anything; may be given several times")
        ->allow_extra_args(false)
        ->check(isGiven())
        ->type_name("PATTERN");
    command.add_option("--schemas", options_.schemas, "Only tables of schemas of that name, in the same way")
        ->allow_extra_args(false)
        ->check(isGiven())
        ->type_name("PATTERN");
    command.add_option("--instructions", options_.instructions, "Your own instructions to the model")
        ->type_name("TEXT");
  }

  void addAsk() {
    CLI::App* added = addDatabaseCommand(Command::Ask, "ask", "Ask one question about a database");
    added->add_option("question", question_, "The question; a word that is - stands for standard input")
        ->required()
        ->expected(-1)
        ->type_name("TEXT");
    CLI::Option* sql = added->add_flag("--sql", options_.showsStatement, "Print the statement alone; it is not run");
    added->add_flag("--run", options_.runsStatement, "Run the statement, if it only reads, and print its rows")
        ->excludes(sql);
    CLI::Option* csv =
        addRowForm(*added, "--csv", "Run the statement; its rows as comma-separated values", RowForm::Csv);
    CLI::Option* json = addRowForm(*added, "--json", "Run the statement; its rows as a JSON array", RowForm::Json);
    csv->excludes(sql)->excludes(json);
    json->excludes(sql);
  }

  CLI::Option* addRowForm(CLI::App& command, const char* name, const char* description, RowForm form) {
    return command.add_flag_function(
        name,
        [this, form](std::int64_t) {
          options_.rowForm = form;
          options_.runsStatement = true;
        },
        description);
  }

  void addPrompt() {
    CLI::App* added = addCommand(Command::Prompt, "prompt", "Print what the model is told ahead of the questions");
    addDatabase(*added);
    addInstructions(*added);
  }

  void addModels() {
    addProviderOptions(*addCommand(Command::Models, "models", "List the models that a provider offers"));
  }

  void addSample() {
    addCommand(Command::Sample, "sample", "Create the sample database of a shop")
        ->add_option("file", options_.sampleFile, "The file to create; it must not exist")
        ->required()
        ->type_name("FILE");
  }

  // The first argument that nothing expects is named only when it is a long option, and then without its value.
  std::string describeUnexpected(int argc, const char* const* argv) const {
    const std::vector<std::string> remaining = app_.remaining(true);
    for (int index = 1; index < argc; ++index) {
      const std::string argument = argv[index];
      if (!argument.starts_with("--")) continue;
      if (std::find(remaining.begin(), remaining.end(), argument) == remaining.end()) continue;
      return "There is no option " + argument.substr(0, argument.find('=')) + " here. See zea --help.";
    }
    return "There is an argument too many. See zea --help.";
  }

  /// The words of a command line that has no command: it may be misspelt. What was typed is not repeated.
  std::string describeMissing(int argc, const char* const* argv, const std::string& otherwise) const {
    const bool hasWord = argc > 1 && argv[1][0] != '-' && app_.get_subcommands().empty();
    if (!hasWord) return otherwise + ". See zea --help.";
    std::string commands;
    for (const CLI::App* one : app_.get_subcommands([](const CLI::App*) { return true; })) {
      commands += (commands.empty() ? "" : ", ") + one->get_name();
    }
    const std::string nearest = nearestWord(argv[1], commands);
    return "There is no such command; " +
           (nearest.empty() ? "there are " + commands + "." : "did you mean zea " + nearest + "?") + " See zea --help.";
  }

  void check() const {
    const bool needsDatabase = options_.command != Command::Models && options_.command != Command::Sample;
    if (needsDatabase && options_.databaseFile.empty()) {
      throw Failure(ExitCode::Usage, "--db is required: an SQLite file or a database's URL. See zea --help.");
    }
    const std::size_t scheme = options_.host.find("://");
    const bool isWeb = options_.host.starts_with("http://") || options_.host.starts_with("https://");
    if (scheme != options_.host.npos && !isWeb) {
      throw Failure(ExitCode::Usage, "A host begins with http:// or https://, or with its name.");
    }
    if (options_.temperature && !std::isfinite(*options_.temperature)) {
      throw Failure(ExitCode::Usage, "The temperature is no number.");
    }
    // Lists of programs show command lines to everybody.
    if (options_.proxy.find('@') != std::string::npos) {
      throw Failure(ExitCode::Usage, "A proxy's password is no argument: put that proxy into HTTPS_PROXY.");
    }
    const bool isNamed = !options_.provider.empty();
    if (options_.maxTokens && !(isNamed && findProvider(options_.provider).takesMaxTokens)) {
      throw Failure(ExitCode::Usage, "--max-tokens is for --provider anthropic only.");
    }
    if (isNamed) return;
    for (const auto& [name, value] : {std::pair<const char*, const std::string&>{"--host", options_.host},
                                      std::pair<const char*, const std::string&>{"--key-file", options_.keyFile}}) {
      if (!value.empty()) throw Failure(ExitCode::Usage, std::string(name) + " needs a --provider.");
    }
  }

  ConsoleOptions options_;
  std::vector<std::string> question_;
  CLI::App app_;
};

}  // namespace

std::optional<ConsoleOptions> readOptions(int argc, const char* const* argv) {
  return OptionsReader().read(argc, argv);
}

}  // namespace console
