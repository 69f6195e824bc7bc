// SPDX-License-Identifier: Apache-2.0
// zea-standin: the stand-in provider as a program of its own, to point a host at.
#include <pthread.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>

#include "standin/reply_rules.h"
#include "standin/request_record.h"
#include "standin/standin_model.h"
#include "standin/zea_standin.h"

namespace {

struct Options {
  int port = 0;
  std::string recordFile;  // empty or "-": standard error
  std::string rulesFile;   // empty: the model answers
};

std::ostream& openRecord(const std::string& name, std::ofstream& file) {
  if (name.empty() || name == "-") return std::cerr;
  file.open(name, std::ios::app);
  if (!file) throw std::runtime_error("The file " + name + " cannot be written.");
  return file;
}

std::string readFile(const std::string& name) {
  std::ifstream file(name);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file) throw std::runtime_error("The file " + name + " cannot be read.");
  return text;
}

// Signals that are blocked before the server starts its threads reach nobody but `sigwait`.
sigset_t blockEndSignals() {
  sigset_t signals;
  if (sigemptyset(&signals) != 0 || sigaddset(&signals, SIGINT) != 0 || sigaddset(&signals, SIGTERM) != 0 ||
      pthread_sigmask(SIG_BLOCK, &signals, nullptr) != 0) {
    throw std::runtime_error("Signals cannot be blocked.");
  }
  return signals;
}

void run(const Options& options) {
  std::ofstream file;
  std::ostream& record = openRecord(options.recordFile, file);
  const sigset_t signals = blockEndSignals();
  std::optional<standin::ReplyRules> rules;
  if (!options.rulesFile.empty()) rules.emplace(readFile(options.rulesFile));
  standin::Server server(options.port);
  if (rules) server.answerBy([&rules](const standin::Request& request) { return rules->answer(request); });
  server.observe([&record](const standin::Request& request) { record << describeRequest(request) << std::flush; });
  std::cout << server.url() << std::endl;
  int received = 0;
  if (sigwait(&signals, &received) != 0) throw std::runtime_error("Signals cannot be waited for.");
}

}  // namespace

int main(int argc, char** argv) {
  try {
    CLI::App app(
        "A stand-in for a provider of chat models, on the loopback interface. Prints its URL on standard output "
        "and runs until it is interrupted.",
        "zea-standin");
    app.footer("It answers, whatever the key is:\n" + standin::describePaths());
    Options options;
    app.add_option("--port", options.port, "The port to listen on; without it, one that is free")
        ->check(CLI::Range(1, 65535));
    app.add_option("--record", options.recordFile,
                   "Append each request to this file instead of printing it on standard error; keys are left out");
    app.add_option("--rules", options.rulesFile,
                   "A JSON array of what is answered to which question; the README shows one");
    try {
      app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      return app.exit(error) == 0 ? EXIT_SUCCESS : 2;
    }
    run(options);
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
