#include "console/session.h"

#include <utility>

#include "console/console_output.h"

namespace console {

namespace {

constexpr const char* kStandinModel = "standin-large";
constexpr const char* kStandinKey = "stand-in";

// The stand-in is spoken to as OPENAI is.
Provider describeStandin() {
  return {.option = {}, .name = "the stand-in", .type = ZEAAssistantType::OPENAI_v1, .keyVariables = {}};
}

// `how` is what the user can write.
void requireModel(const Provider& provider, const std::string& model, const std::string& how) {
  if (!provider.needsModel || !model.empty()) return;
  const std::string option(provider.option);
  const std::string listing = provider.listsModels ? "; zea models --provider " + option + " lists them" : "";
  throw Failure(ExitCode::Usage, "Name a model with " + how + listing + ".");
}

}  // namespace

std::unique_ptr<Session> Session::connect(const ConsoleOptions& options) {
  if (!options.provider.empty()) {
    const Provider provider = findProvider(options.provider);
    if (options.command != Command::Models) requireModel(provider, options.model, "--model");
    const std::string key = options.keyFile.empty() ? obtainKey(provider) : readKeyFile(options.keyFile);
    auto connection = std::make_unique<Connection>(provider, key, options.host, nullptr);
    return std::unique_ptr<Session>(new Session(options, std::move(connection)));
  }
  auto standin = std::make_unique<standin::Server>();
  printNote("No provider is named: a stand-in on this machine answers, no model. See --provider.");
  auto connection = std::make_unique<Connection>(describeStandin(), kStandinKey, standin->url(), nullptr);
  std::unique_ptr<Session> session(new Session(options, std::move(connection)));
  session->standin_ = std::move(standin);
  if (options.model.empty()) session->setModel(kStandinModel);
  return session;
}

std::unique_ptr<Session> Session::createOffline(const ConsoleOptions& options) {
  auto connection = std::make_unique<Connection>(describeStandin(), std::string(), std::string(), nullptr);
  return std::unique_ptr<Session>(new Session(options, std::move(connection)));
}

Session::Session(const ConsoleOptions& options, std::unique_ptr<Connection> connection)
    : options_(options), memory_(connection->releaseMemory()), connection_(std::move(connection)) {
  configure(*connection_);
  if (!options.model.empty()) setModel(options.model);
}

void Session::configure(Connection& connection) const {
  if (!options_.instructions.empty()) connection.setText("user_instructions", options_.instructions);
  connection.set("system_instructions", systemInstructions_);
  if (options_.temperature) {
    connection.set("temperature", *options_.temperature);
    connection.set("use_temperature", 1);
  }
  if (options_.maxTokens && connection.provider().takesMaxTokens) connection.set("max_tokens", *options_.maxTokens);
}

void Session::describeDatabase(const zeakit::BuiltStructure& structure) {
  systemInstructions_["answer_form"] = "Write SQL in fenced sql blocks.";
  for (const auto& [name, text] : structure.instructions) systemInstructions_[name] = text;
  connection_->set("system_instructions", systemInstructions_);
  connection_->set("db_structure", structure.document);  // into the memory
}

void Session::changeProvider(const std::string& name, const std::string& model, const std::string& host) {
  const Provider provider = findProvider(name);
  requireModel(provider, model, "/provider " + std::string(provider.option) + " MODEL");
  auto next = std::make_unique<Connection>(provider, obtainKey(provider), host, memory_.get());
  configure(*next);
  if (!model.empty()) next->setText("model", model);
  connection_ = std::move(next);
}

std::string Session::obtainProvider() const {
  const std::string model = obtainModel();
  return std::string(connection_->provider().name) + (model.empty() ? "" : ", model " + model);
}

}  // namespace console
