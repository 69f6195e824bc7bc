// SPDX-License-Identifier: Apache-2.0
#include "support/database_server.h"

#include <fcntl.h>
#include <glob.h>
#include <grp.h>
#include <pwd.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <stdexcept>

namespace support {

namespace fs = std::filesystem;

namespace {

/// The last file that the pattern finds: of several versions the newest.
std::string findProgram(const char* pattern) {
  glob_t found{};
  const bool isFound = glob(pattern, 0, nullptr, &found) == 0;
  std::string path = isFound ? found.gl_pathv[found.gl_pathc - 1] : "";
  globfree(&found);
  if (path.empty()) throw std::runtime_error(std::string(pattern) + " is missing");
  return path;
}

}  // namespace

DatabaseServer::DatabaseServer(const char* account) : account_(geteuid() == 0 ? account : nullptr) {
  // A socket's path has to be short.
  std::string pattern = "/tmp/zeaXXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder can be made");
  folder_ = pattern;
  if (account_ == nullptr) return;
  const passwd* const entry = getpwnam(account_);
  if (entry == nullptr || chown(folder_.c_str(), entry->pw_uid, entry->pw_gid) != 0) {
    throw std::runtime_error(std::string(account_) + " is no account");
  }
}

DatabaseServer::~DatabaseServer() {
  if (server_ > 0) {
    // What it would write in the end is thrown away anyway.
    kill(server_, SIGQUIT);
    waitpid(server_, nullptr, 0);
  }
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

void DatabaseServer::prepare(const std::vector<std::string>& command) {
  const fs::path log = folder_ / "prepare.log";
  const int output = open(log.c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0600);
  int status = 0;
  const bool isDone = waitpid(spawn(command, output), &status, 0) > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  close(output);
  std::ifstream said(log);
  if (!isDone) throw std::runtime_error(command[0] + ": " + std::string(std::istreambuf_iterator<char>(said), {}));
}

void DatabaseServer::start(const std::vector<std::string>& command, const std::string& readyText) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  server_ = spawn(command, ends[1]);
  close(ends[1]);
  std::string said;
  std::array<char, 4096> part{};
  while (said.find(readyText) == std::string::npos) {
    const ssize_t count = read(ends[0], part.data(), part.size());
    if (count <= 0) throw std::runtime_error(command[0] + ": " + said);
    said.append(part.data(), static_cast<std::size_t>(count));
  }
  // Left open until the process ends, so that the server can go on writing; a pipe holds more than it says here.
}

pid_t DatabaseServer::spawn(const std::vector<std::string>& command, int output) const {
  std::vector<char*> arguments;
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  const passwd* const entry = account_ != nullptr ? getpwnam(account_) : nullptr;
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no process can be made");
  if (child > 0) return child;
  // Only what a process with one thread of several may do before it becomes another program.
  if (entry != nullptr && (setgroups(0, nullptr) != 0 || setgid(entry->pw_gid) != 0 || setuid(entry->pw_uid) != 0)) {
    _exit(126);
  }
  const int input = open("/dev/null", O_RDONLY);
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent || chdir(folder_.c_str()) != 0) _exit(126);
  execv(arguments[0], arguments.data());
  _exit(127);
}

PostgreSqlServer::PostgreSqlServer() : DatabaseServer("postgres") {
  const std::string data = folder() / "data";
  prepare({findProgram("/usr/lib/postgresql/*/bin/initdb"), "--no-sync", "-A", "trust", "-U", "zea", "-E", "UTF8",
           "--locale=C", "-D", data});
  start({findProgram("/usr/lib/postgresql/*/bin/postgres"), "-D", data, "-k", folder(), "-c", "listen_addresses=", "-c",
         "fsync=off", "-c", "jit=off",
         // No statement's failure: nobody reads what it says any more.
         "-c", "log_min_messages=log"},
        "ready to accept connections");
}

MariaDbServer::MariaDbServer() : DatabaseServer("mysql") {
  const std::string data = "--datadir=" + (folder() / "data").string();
  const std::string noOptionFiles = "--no-defaults";
  prepare({findProgram("/usr/bin/mariadb-install-db"), noOptionFiles, data, "--skip-test-db",
           "--auth-root-authentication-method=normal", "--tmpdir=" + folder().string()});
  const fs::path script = folder() / "users.sql";
  std::ofstream(script) << "CREATE USER zea@localhost;\nGRANT ALL ON *.* TO zea@localhost WITH GRANT OPTION;\n";
  fs::permissions(script, fs::perms::others_read, fs::perm_options::add);
  start(
      {findProgram("/usr/sbin/mariadbd"), noOptionFiles, data, "--socket=" + (folder() / "s").string(),
       "--skip-networking", "--innodb-flush-log-at-trx-commit=0", "--innodb-buffer-pool-size=64M", "--skip-log-bin",
       "--init-file=" + script.string(), "--pid-file=" + (folder() / "pid").string(), "--tmpdir=" + folder().string()},
      "ready for connections");
}

}  // namespace support
