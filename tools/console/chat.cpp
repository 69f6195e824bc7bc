#include "console/chat.h"

#include <unistd.h>

#include <zeakit/reply_parts.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

#include "console/console_output.h"
#include "console/line_reader.h"

namespace console {

namespace {

constexpr const char* kHelp =
    "A line is a question. Lines that begin with a slash are commands:\n"
    "  /provider                      show the provider\n"
    "  /provider NAME [MODEL [HOST]]  go on with this conversation at another provider\n"
    "  /model [NAME]                  show the model, or ask another one from now on\n"
    "  /run                           run the statement of the last answer, if it only reads, and show its rows\n"
    "  /new                           forget the conversation and begin another\n"
    "  /schema                        list the tables that the last question carried\n"
    "  /prompt                        show what the model is told ahead of the questions\n"
    "  /help                          show this\n"
    "  /quit, /exit                   end; so does the end of input, at a terminal Ctrl-D\n"
    "Ctrl-C ends a question or clears the line. Of long conversations the latest turns are sent, up to about 32,000\n"
    "tokens.";

/// As other programs at a terminal are left.
bool isFarewell(const std::string& line) {
  static constexpr const char* kWords[] = {"/quit", "/exit", "quit", "exit", "\\q", ".quit", ".exit"};
  return std::find(std::begin(kWords), std::end(kWords), line) != std::end(kWords);
}

class Chat {
 public:
  Chat(Session& session, std::function<std::unique_ptr<zeakit::IReadOnlyRunner>()> openRunner)
      : session_(session), openRunner_(std::move(openRunner)) {}

  ExitCode run() {
    while (auto line = reader_.readLine()) {
      const std::string text = qxTrimAsString(*line);
      if (isFarewell(text)) break;
      if (text.empty()) continue;
      text.starts_with('/') ? tryToObey(text) : answer(*line);
    }
    return lastCode_;
  }

 private:
  void answer(const std::string& question) {
    try {
      const std::string reply = session_.ask(question);
      statement_ = zeakit::firstStatement(reply);
      printAnswer(reply);
      lastCode_ = ExitCode::Success;
    } catch (const Failure& failure) {
      printNote(failure.what());
      lastCode_ = failure.code();
    }
  }

  void tryToObey(const std::string& line) {
    try {
      obey(line);
    } catch (const Failure& failure) {
      printNote(failure.what());
    }
  }

  void obey(const std::string& line) {
    const std::string word = line.substr(0, line.find_first_of(" \t"));
    const std::string rest = qxTrimAsString(line.substr(word.size()));
    if (word == "/model" && rest.empty()) {
      printNote("The model is " + session_.obtainModel() + ".");
    } else if (word == "/model") {
      session_.setModel(rest);
    } else if (word == "/provider" && rest.empty()) {
      printNote("The provider is " + session_.obtainProvider() + ".");
    } else if (word == "/provider") {
      changeProvider(rest);
    } else if (line == "/run") {
      runStatement();
    } else if (line == "/schema") {
      printNote(session_.listTables());
    } else if (line == "/new") {
      session_.startAnew();
      statement_.clear();
      printNote("A new conversation begins.");
    } else if (line == "/prompt") {
      printText(session_.obtainPrompt());
    } else if (line == "/help") {
      printNote(kHelp);
    } else {
      printNote("There is no command " + word + "; /help lists them.");
    }
  }

  void runStatement() {
    if (statement_.empty()) return printNote("The last answer has no statement.");
    if (runner_ == nullptr) runner_ = openRunner_();
    printRows(runner_->run(statement_));
  }

  void changeProvider(const std::string& arguments) {
    std::istringstream words(arguments);
    std::string name;
    std::string model;
    std::string host;
    std::string more;
    words >> name >> model >> host >> more;
    if (!more.empty()) return printNote("/provider takes a name, a model and a host, no more.");
    try {
      session_.changeProvider(name, model, host);
      printNote("The conversation goes on with " + session_.obtainProvider() + ".");
    } catch (const Failure& failure) {
      printNote(std::string(failure.what()) + " The conversation goes on with " + session_.obtainProvider() + ".");
    }
  }

  Session& session_;
  std::function<std::unique_ptr<zeakit::IReadOnlyRunner>()> openRunner_;
  std::unique_ptr<zeakit::IReadOnlyRunner> runner_;  // once a statement was to be run
  std::string statement_;                            // of the last answer
  LineReader reader_;
  ExitCode lastCode_ = ExitCode::Success;
};

}  // namespace

ExitCode runChat(Session& session, std::function<std::unique_ptr<zeakit::IReadOnlyRunner>()> openRunner) {
  const ExitCode lastCode = Chat(session, std::move(openRunner)).run();
  return ::isatty(STDIN_FILENO) == 1 ? ExitCode::Success : lastCode;
}

}  // namespace console
