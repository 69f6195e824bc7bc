// SPDX-License-Identifier: Apache-2.0
#include "support/child_process.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace support {

namespace {

void check(bool isGood, int code, const char* what) {
  if (!isGood) throw std::system_error(code, std::generic_category(), what);
}

// A file without a name: however much a child writes, nobody has to read it meanwhile.
class ScratchFile {
 public:
  explicit ScratchFile(const std::string& content = {}) : file_(std::tmpfile()) {
    check(file_ != nullptr, errno, "tmpfile");
    check(std::fwrite(content.data(), 1, content.size(), file_.get()) == content.size(), errno, "fwrite");
    std::rewind(file_.get());
  }
  int descriptor() const { return ::fileno(file_.get()); }
  std::string read() const {
    std::rewind(file_.get());
    std::string content;
    std::array<char, 4096> part{};
    for (std::size_t count = 0; (count = std::fread(part.data(), 1, part.size(), file_.get())) > 0;) {
      content.append(part.data(), count);
    }
    return content;
  }

 private:
  struct Close {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
  };
  std::unique_ptr<std::FILE, Close> file_;
};

class FileActions {
 public:
  FileActions() { check(posix_spawn_file_actions_init(&actions_) == 0, ENOMEM, "file actions"); }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;
  void redirect(int from, const ScratchFile& to) {
    check(posix_spawn_file_actions_adddup2(&actions_, to.descriptor(), from) == 0, ENOMEM, "file actions");
  }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

ChildResult runChild(const std::vector<std::string>& command, const std::vector<std::string>& environment,
                     const std::string& input) {
  const ScratchFile standardInput(input);
  const ScratchFile standardOutput;
  const ScratchFile standardError;
  FileActions actions;
  actions.redirect(STDIN_FILENO, standardInput);
  actions.redirect(STDOUT_FILENO, standardOutput);
  actions.redirect(STDERR_FILENO, standardError);
  const auto arguments = pointersTo(command);
  const auto variables = pointersTo(environment);

  pid_t child = 0;
  const int code = ::posix_spawn(&child, arguments[0], actions.get(), nullptr, arguments.data(), variables.data());
  check(code == 0, code, "posix_spawn");
  int status = 0;
  check(::waitpid(child, &status, 0) == child, errno, "waitpid");
  const int exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return {exitCode, standardOutput.read(), standardError.read()};
}

}  // namespace support
