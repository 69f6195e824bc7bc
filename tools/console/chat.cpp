#include "console/chat.h"

#include <unistd.h>

#include <sstream>

#include "console/console_output.h"
#include "console/line_reader.h"

namespace console {

namespace {

constexpr const char* kHelp =
    "A line is a question. Lines that begin with a slash are commands:\n"
    "  /provider                      show the provider\n"
    "  /provider NAME [MODEL [HOST]]  go on with this conversation at another provider\n"
    "  /model [NAME]                  show the model, or ask another one from now on\n"
    "  /prompt                        show what the model is told ahead of the questions\n"
    "  /help                          show this\n"
    "  /quit, /exit                   end; so does the end of input";

class Chat {
 public:
  explicit Chat(Session& session) : session_(session) {}

  ExitCode run() {
    while (auto line = reader_.readLine()) {
      const std::string text = qxTrimAsString(*line);
      if (text == "/quit" || text == "/exit") break;
      if (text.empty()) continue;
      text.starts_with('/') ? obey(text) : answer(*line);
    }
    return lastCode_;
  }

 private:
  void answer(const std::string& question) {
    try {
      printAnswer(session_.ask(question));
      lastCode_ = ExitCode::Success;
    } catch (const Failure& failure) {
      printNote(failure.what());
      lastCode_ = failure.code();
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
    } else if (line == "/prompt") {
      printText(session_.obtainPrompt());
    } else if (line == "/help") {
      printNote(kHelp);
    } else {
      printNote("There is no command " + word + "; /help lists them.");
    }
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
  LineReader reader_;
  ExitCode lastCode_ = ExitCode::Success;
};

}  // namespace

ExitCode runChat(Session& session) {
  const ExitCode lastCode = Chat(session).run();
  return ::isatty(STDIN_FILENO) == 1 ? ExitCode::Success : lastCode;
}

}  // namespace console
