#include "console/chat.h"

#include <unistd.h>

#include "console/console_output.h"
#include "console/line_reader.h"

namespace console {

namespace {

constexpr const char* kHelp =
    "A line is a question. Lines that begin with a slash are commands:\n"
    "  /model [NAME]  show the model, or ask another one from now on\n"
    "  /prompt        show what the model is told ahead of the questions\n"
    "  /help          show this\n"
    "  /quit, /exit   end; so does the end of input";

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
    } else if (line == "/prompt") {
      printText(session_.obtainPrompt());
    } else if (line == "/help") {
      printNote(kHelp);
    } else {
      printNote("There is no command " + word + "; /help lists them.");
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
