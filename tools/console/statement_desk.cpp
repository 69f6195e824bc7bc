// SPDX-License-Identifier: Apache-2.0
#include "console/statement_desk.h"

#include <openssl/evp.h>
#include <unistd.h>
#include <zeakit/ask_for_statement.h>
#include <zeakit/reply_parts.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <utility>
#include <vector>

#include "console/console_output.h"
#include "console/failure.h"
#include "console/interrupt.h"
#include "console/terminal_question.h"
#include "qx/qx.h"

namespace console {

namespace {

/// A file that only its user may read, for as long as the editor has it.
class DraftFile {
 public:
  explicit DraftFile(const std::string& text) {
    const char* const folder = std::getenv("TMPDIR");
    name_ = std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") + "/zea-XXXXXX.sql";
    constexpr int suffix = 4;
    const int descriptor = ::mkstemps(name_.data(), suffix);
    if (descriptor < 0) throw Failure(ExitCode::Usage, "There is no room for the editor's file.");
    ::close(descriptor);
    std::ofstream(name_) << text << '\n';
  }
  ~DraftFile() { ::unlink(name_.c_str()); }
  DraftFile(const DraftFile&) = delete;
  DraftFile& operator=(const DraftFile&) = delete;

  const std::string& name() const { return name_; }
  std::string read() const {
    std::ifstream file(name_);
    return qxTrimAsString(std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()));
  }

 private:
  std::string name_;
};

std::string obtainEditor() {
  for (const char* const variable : {"VISUAL", "EDITOR"}) {
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return "vi";
}

std::string encodeBase64(const std::string& text) {
  std::vector<unsigned char> encoded(4 * (text.size() + 2) / 3 + 1);
  const int size = EVP_EncodeBlock(encoded.data(), reinterpret_cast<const unsigned char*>(text.data()),
                                   static_cast<int>(text.size()));
  return {encoded.begin(), encoded.begin() + size};
}

}  // namespace

void StatementDesk::take(const std::string& answer) {
  statement_ = qxTrimAsString(zeakit::firstStatement(answer));
  result_.reset();
}

void StatementDesk::run() {
  zeakit::IReadOnlyRunner& runner = requireRunner();
  const auto checked = runner.check(requireStatement());
  if (checked.verdict != zeakit::Verdict::Reads) {
    result_ = zeakit::StatementResult::failed(checked.reason);
    return printNote(checked.reason);
  }
  if (isAnybodyThere()) printNote(statement_);
  if (!askYesNo("Run it?", true, true)) return;
  {
    const CancelStatementOnInterrupt interrupt(runner);
    result_ = runner.run(statement_);
  }
  printRows(*result_);
}

void StatementDesk::explain() {
  zeakit::IReadOnlyRunner& runner = requireRunner();
  const std::string& statement = requireStatement();
  const CancelStatementOnInterrupt interrupt(runner);
  printRows(runner.explain(statement));
}

void StatementDesk::edit() {
  const DraftFile draft(statement_);
  // The shell splits what the variable holds, which may have options; the file's name is an argument of its own.
  const std::string command = "exec " + obtainEditor() + " '" + draft.name() + "'";
  if (std::system(command.c_str()) != 0)
    throw Failure(ExitCode::Usage, "The editor failed; the statement is as it was.");
  statement_ = draft.read();
  result_.reset();
  printNote(statement_.empty() ? "There is no statement now." : statement_);
}

void StatementDesk::copy() const {
  const std::string& statement = requireStatement();
  if (!isAnybodyThere()) throw Failure(ExitCode::Usage, "There is no terminal to copy with.");
  // OSC 52: the terminal's own clipboard, also at the far end of ssh.
  const std::string sequence = "\x1b]52;c;" + encodeBase64(statement) + "\a";
  static_cast<void>(::write(STDERR_FILENO, sequence.data(), sequence.size()) < 0);
  printNote("Copied, if the terminal lets programs do so.");
}

std::optional<std::string> StatementDesk::describeFailure() const {
  if (!result_ || result_->error.empty()) return std::nullopt;
  // The user may have edited it.
  return zeakit::questionForAnother(result_->error + "\n" + statement_);
}

std::string StatementDesk::addRows(const std::string& question) const {
  if (!result_ || result_->rows.empty()) throw Failure(ExitCode::Usage, "There are no rows to send.");
  return zeakit::questionWithRows(question, *result_);
}

const std::string& StatementDesk::requireStatement() const {
  if (statement_.empty()) throw Failure(ExitCode::Usage, "The last answer has no statement.");
  return statement_;
}

zeakit::IReadOnlyRunner& StatementDesk::requireRunner() {
  static_cast<void>(requireStatement());
  if (runner_ == nullptr) runner_ = openRunner_();
  return *runner_;
}

}  // namespace console
