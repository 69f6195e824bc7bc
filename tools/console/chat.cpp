// SPDX-License-Identifier: Apache-2.0
#include "console/chat.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <span>
#include <sstream>
#include <string_view>
#include <utility>

#include "console/console_output.h"
#include "console/interrupt.h"
#include "console/line_reader.h"
#include "console/statement_desk.h"
#include "console/terminal_question.h"

namespace console {

namespace {

// Above that a question costs more than a slip of the finger should.
constexpr std::size_t kTokensWorthAsking = 50'000;

class Chat {
 public:
  Chat(Session& session, Database& database, bool keepsLines)
      : session_(session),
        database_(database),
        desk_([&database] { return database.openRunner(); }),
        reader_(keepsLines, [this](const std::string& line) { return completionsOf(line); }) {}

  ExitCode run() {
    while (auto line = reader_.readLine()) {
      const std::string text = qxTrimAsString(*line);
      if (isFarewell(text)) break;
      if (text.empty()) continue;
      isCommand(text) ? tryTo([&] { obey(text); }) : answer(*line);
    }
    return lastCode_;
  }

 private:
  /// A word behind a slash, what follows it in the help, and what it does with the rest of its line.
  struct ChatCommand {
    std::string_view word;
    std::string_view arguments;
    std::string_view help;
    void (Chat::*run)(const std::string& rest);
  };
  static std::span<const ChatCommand> commands() {
    static constexpr ChatCommand all[] = {
        {"run", "", "run the last answer's statement, if it only reads", &Chat::runStatement},
        {"explain", "", "show how the database would run it", &Chat::explainStatement},
        {"edit", "", "change it in $EDITOR", &Chat::editStatement},
        {"copy", "", "put it on the terminal's clipboard", &Chat::copyStatement},
        {"fix", "", "tell the model why it failed", &Chat::sendFailure},
        {"rows", "QUESTION", "ask about the rows that were shown, which are sent", &Chat::sendRows},
        {"schema", "", "list the tables that the last question carried", &Chat::showTables},
        {"prompt", "", "show what the model is told ahead of the questions", &Chat::showPrompt},
        {"provider", "[NAME [MODEL [HOST]]]", "show the provider, or go on at another one",
         &Chat::showOrChangeProvider},
        {"model", "[NAME]", "show the model, or ask another one from now on", &Chat::showOrSetModel},
        {"models", "", "list the provider's models; Tab completes them then", &Chat::listModels},
        {"new", "", "forget the conversation and begin another", &Chat::startAnew},
        {"save", "[TITLE]", "keep the conversation", &Chat::save},
        {"conversations", "", "list those that are kept", &Chat::listKept},
        {"load", "NUMBER|TITLE", "go on with one of them", &Chat::load},
        {"delete", "NUMBER|TITLE", "delete one of them", &Chat::removeKept},
        {"help", "", "show this", &Chat::showHelp},
    };
    return all;
  }

  /// As other programs at a terminal are left.
  static bool isFarewell(const std::string& line) {
    static constexpr const char* kWords[] = {"/quit", "/exit", "/q", "quit", "exit", "\\q", ".quit", ".exit"};
    const std::string word = line.starts_with('/') ? line.substr(0, line.find_first_of(" \t")) : line;
    return std::find(std::begin(kWords), std::end(kWords), word) != std::end(kWords);
  }

  /// A slash and a letter: a statement may begin with "/*".
  static bool isCommand(const std::string& line) {
    return line.size() > 1 && line[0] == '/' &&
           ((line[1] >= 'a' && line[1] <= 'z') || (line[1] >= 'A' && line[1] <= 'Z'));
  }

  template <class Step>
  void tryTo(Step step) {
    try {
      step();
    } catch (const Failure& failure) {
      printNote(failure.what());
    }
  }

  void answer(const std::string& question) {
    try {
      refreshStructure();
      if (!isWorthSending(question)) return;
      const std::string reply = session_.ask(question);
      desk_.take(reply);
      printAnswer(reply);
      lastCode_ = ExitCode::Success;
    } catch (const Failure& failure) {
      printNote(failure.what());
      lastCode_ = failure.code();
    }
  }

  void refreshStructure() {
    tryTo([this] {
      const auto structure = database_.readIfChanged();
      if (!structure) return;
      session_.describeDatabase(*structure);
      printNote("The database has changed; this is about " + database_.describe() + " now.");
    });
  }

  bool isWorthSending(const std::string& question) {
    if (!isAnybodyThere()) return true;
    const std::size_t tokens = session_.estimate(question);
    printNote("(about " + std::to_string(tokens) + " tokens)");
    return tokens < kTokensWorthAsking || askYesNo("Send that many?", false, true);
  }

  void obey(const std::string& line) {
    const std::string word = line.substr(1, line.find_first_of(" \t") - 1);
    const std::string rest = qxTrimAsString(line.substr(word.size() + 1));
    const auto all = commands();
    const auto command =
        std::find_if(all.begin(), all.end(), [&word](const ChatCommand& one) { return one.word == word; });
    if (command == all.end()) throw Failure(ExitCode::Usage, "There is no command /" + word + "; /help lists them.");
    if (command->arguments.empty() && !rest.empty()) throw Failure(ExitCode::Usage, "/" + word + " stands alone.");
    (this->*command->run)(rest);
  }

  void showOrSetModel(const std::string& name) {
    if (!name.empty()) return session_.setModel(name);
    printNote("The model is " + session_.obtainModel() + ".");
  }

  void listModels(const std::string&) {
    models_ = session_.listModels();
    for (const std::string& model : models_) printAnswer(model);
  }

  void showOrChangeProvider(const std::string& arguments) {
    if (arguments.empty()) return printNote("The provider is " + session_.obtainProvider() + ".");
    std::istringstream words(arguments);
    std::string name;
    std::string model;
    std::string host;
    std::string more;
    words >> name >> model >> host >> more;
    if (!more.empty()) return printNote("/provider takes a name, a model and a host, no more.");
    try {
      session_.changeProvider(name, model, host);
      models_.clear();
      printNote("The conversation goes on with " + session_.obtainProvider() + ".");
    } catch (const Failure& failure) {
      printNote(std::string(failure.what()) + " The conversation goes on with " + session_.obtainProvider() + ".");
    }
  }

  void runStatement(const std::string&) {
    desk_.run();
    const auto failure = desk_.describeFailure();
    if (failure && askYesNo("Tell the model, for another statement?", false, false)) answer(*failure);
  }

  void explainStatement(const std::string&) { desk_.explain(); }
  void editStatement(const std::string&) { desk_.edit(); }
  void copyStatement(const std::string&) { desk_.copy(); }

  void sendFailure(const std::string&) {
    const auto failure = desk_.describeFailure();
    if (!failure) throw Failure(ExitCode::Usage, "No statement has failed.");
    answer(*failure);
  }

  void sendRows(const std::string& question) {
    if (question.empty()) throw Failure(ExitCode::Usage, "/rows takes a question.");
    const std::string whole = desk_.addRows(question);
    const std::string count = std::to_string(desk_.rowCount());
    if (askYesNo("Send " + count + " rows of the database to " + session_.obtainProvider() + "?", false, true))
      answer(whole);
  }

  void showTables(const std::string&) { printNote(session_.listTables()); }

  void startAnew(const std::string&) {
    session_.startAnew();
    desk_.clear();
    if (!database_.isReadEachTime()) session_.describeDatabase(database_.read());
    printNote("A new conversation begins.");
  }

  void save(const std::string& title) {
    session_.saveAs(title);
    printNote("This conversation is kept.");
  }

  void load(const std::string& name) {
    if (name.empty()) throw Failure(ExitCode::Usage, "/load takes a number or a title; /conversations lists them.");
    const std::size_t answers = session_.load(name);
    desk_.clear();
    printNote("The conversation goes on after " + std::to_string(answers) + " answers.");
  }

  void removeKept(const std::string& name) {
    if (name.empty()) throw Failure(ExitCode::Usage, "/delete takes a number or a title; /conversations lists them.");
    session_.removeKept(name);
    printNote("It is deleted.");
  }

  void listKept(const std::string&) { printNote(session_.listKept()); }
  void showPrompt(const std::string&) { printText(session_.obtainPrompt()); }

  void showHelp(const std::string&) {
    std::string text = "A line is a question; Alt-Enter begins another line of it. Commands:\n";
    constexpr std::size_t column = 26;
    for (const ChatCommand& command : commands()) {
      std::string left = "  /" + std::string(command.word);
      left.append(command.arguments.empty() ? "" : " ").append(command.arguments);
      left.size() < column ? left.resize(column, ' ') : static_cast<void>(left.append("\n").append(column, ' '));
      text += left + std::string(command.help) + "\n";
    }
    printNote(text +
              "  /quit                   leave, as the end of input does, at a terminal Ctrl-D\n"
              "Ctrl-C ends a question or a statement, or clears the line. Of long conversations\n"
              "the latest turns are sent, up to about 32,000 tokens.");
  }

  std::vector<std::string> completionsOf(const std::string& line) const {
    if (line.find(' ') == line.npos && line.starts_with('/')) {
      std::vector<std::string> words = {"/quit"};
      for (const ChatCommand& command : commands()) words.push_back("/" + std::string(command.word));
      return words;
    }
    if (line.starts_with("/model ")) return models_;
    if (line.starts_with("/provider ")) return splitList(listProviders());
    return session_.tableNames();
  }

  static std::vector<std::string> splitList(const std::string& list) {
    std::istringstream stream(list);
    std::vector<std::string> words;
    for (std::string word; std::getline(stream >> std::ws, word, ',');) words.push_back(word);
    return words;
  }

  Session& session_;
  Database& database_;
  StatementDesk desk_;
  std::vector<std::string> models_;  // as they were listed last
  LineReader reader_;
  ExitCode lastCode_ = ExitCode::Success;
};

}  // namespace

ExitCode runChat(Session& session, Database& database, bool keepsLines) {
  std::optional<IgnoredInterrupt> interrupt;
  if (isAnybodyThere()) {
    interrupt.emplace();
    printNote("This is " + session.obtainProvider() + ", about " + database.describe() + ". /help lists the commands.");
  }
  const ExitCode lastCode = Chat(session, database, keepsLines).run();
  return ::isatty(STDIN_FILENO) == 1 ? ExitCode::Success : lastCode;
}

}  // namespace console
