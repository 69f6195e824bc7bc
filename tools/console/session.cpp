// SPDX-License-Identifier: Apache-2.0
#include "console/session.h"

#include <zeakit/prompt_account.h>
#include <zeakit/structure_index.h>
#include <zeakit/token_estimate.h>

#include <utility>

#include "console/console_output.h"

namespace console {

namespace {

constexpr const char* kStandinModel = "standin-large";
constexpr const char* kStandinKey = "stand-in";
// Of earlier turns: what the smallest windows in use have room for beside a structure.
constexpr std::size_t kTokensOfTurns = 32'000;
// The largest reply that every model of ANTHROPIC since Claude 3.5 allows. Models that think count that as reply, too,
// and the library's own default cuts their statements.
constexpr std::int32_t kMaxTokens = 8192;

// The stand-in is spoken to as OPENAI is.
Provider describeStandin() {
  return {.option = {}, .name = "the stand-in", .type = ZEAAssistantType::OPENAI_v1, .keyVariables = {}};
}

zeakit::FitOptions fitOptionsOf(const ConsoleOptions& options) {
  zeakit::FitOptions fit;
  fit.budget = options.budget;
  return fit;
}

// `how` is what the user can write.
void requireModel(const Provider& provider, const std::string& model, const std::string& how) {
  if (!model.empty()) return;
  const std::string option(provider.option);
  const std::string listing = provider.listsModels ? "; zea models --provider " + option + " lists them" : "";
  throw Failure(ExitCode::Usage, "Name a model with " + how + listing + ".");
}

}  // namespace

std::unique_ptr<Session> Session::connect(const ConsoleOptions& options) {
  std::unique_ptr<Session> session(new Session(options));
  if (!options.provider.empty()) {
    const Provider provider = findProvider(options.provider);
    if (options.command != Command::Models) requireModel(provider, options.model, "--model");
    const ProviderKey key = options.keyFile.empty() ? obtainKey(provider) : readKeyFile(options.keyFile);
    session->connectTo(provider, {key, options.host, options.model});
    const bool isUnsaid = options.host.find("://") == options.host.npos;
    if (isUnsaid && session->connection_->isSecureHere()) {
      printNote(options.host + " is asked over https. If the server there has only http, try http://" + options.host +
                ".");
    }
    return session;
  }
  session->standin_ = std::make_unique<standin::Server>();
  printNote("No provider is named: a stand-in on this machine answers, no model. See --provider.");
  session->connectTo(
      describeStandin(),
      {{kStandinKey, {}}, session->standin_->url(), options.model.empty() ? kStandinModel : options.model});
  return session;
}

std::unique_ptr<Session> Session::createOffline(const ConsoleOptions& options) {
  std::unique_ptr<Session> session(new Session(options));
  session->connectTo(describeStandin(), {{}, {}, options.model});
  return session;
}

Session::Session(const ConsoleOptions& options)
    : options_(options), window_(memory_, {0, kTokensOfTurns, true}), focused_(window_, fitOptionsOf(options)) {}

KeptConversation& Session::kept() {
  if (kept_ == nullptr) {
    kept_ = std::make_unique<KeptConversation>();
    memory_.keepIn(*kept_);
  }
  return *kept_;
}

void Session::keepConversation(bool isLatest) {
  const auto all = kept().list();
  if (isLatest && !all.empty()) {
    kept_->resume(all.front());
    memory_.takeTurnsOf(*kept_->memory());
  } else {
    kept_->begin({});
  }
  const std::size_t answers = isLatest && !all.empty() ? all.front().answers : 0;
  printNote("This conversation is kept: " + kept_->title() + ", " + std::to_string(answers) + " answers so far.");
}

void Session::startAnew() {
  memory_.forgetTurns();
  if (kept_ != nullptr && kept_->memory() != nullptr) kept_->begin({});
}

void Session::saveAs(const std::string& title) {
  if (kept().memory() != nullptr) {
    if (!title.empty()) kept_->rename(title);
    return;
  }
  kept_->begin(title);
  memory_.storeTurns();
  noteWhatIsNotKept();
}

std::size_t Session::load(const std::string& name) {
  const auto found = kept().find(name);
  kept_->resume(found);
  memory_.takeTurnsOf(*kept_->memory());
  return found.answers;
}

void Session::removeKept(const std::string& name) { kept().remove(kept().find(name)); }

std::string Session::listKept() {
  std::string text;
  std::size_t number = 0;
  for (const auto& one : kept().list()) {
    text.append(text.empty() ? "" : "\n").append(std::to_string(++number)).append("  ").append(one.title);
    text.append(one.answers == 1 ? "  (1 answer)" : "  (" + std::to_string(one.answers) + " answers)");
  }
  return text.empty() ? "No conversation is kept." : text;
}

std::vector<std::string> Session::listModels() {
  const Provider& provider = connection_->provider();
  std::vector<std::string> models = connection_->listModels();
  if (provider.modelsOfPage != 0 && models.size() == provider.modelsOfPage) {
    printNote("These are the first " + std::to_string(models.size()) +
              " of a longer list: " + std::string(provider.name) + " shows no more at once.");
  }
  return models;
}

std::string Session::ask(const std::string& question) {
  focus(question);
  std::string answer = connection_->ask(question);
  noteWhatIsNotKept();
  return answer;
}

std::size_t Session::estimate(const std::string& question) {
  focus(question);
  return zeakit::estimateTokens(obtainPrompt()) +
         zeakit::accountPrompt({}, {}, window_.obtainEntries(0), question).total();
}

void Session::noteWhatIsNotKept() const {
  if (kept_ != nullptr && !kept_->failure().empty()) printNote(kept_->failure());
}

void Session::focus(const std::string& question) {
  if (options_.budget == 0) return;
  tables_ = focused_.focus(question).tables;
}

std::string Session::listTables() const {
  if (tables_.empty()) return "All tables go along with each question.";
  std::string text;
  for (const zeakit::FittedTable& table : tables_) {
    const char* const depth = table.depth == zeakit::FitDepth::Whole     ? ""
                              : table.depth == zeakit::FitDepth::Slimmed ? "  (keys and some columns)"
                                                                         : "  (its name)";
    text += (text.empty() ? "" : "\n") + table.name + depth;
  }
  return text;
}

void Session::connectTo(const Provider& provider, const Access& access) {
  auto next = std::make_unique<Connection>(provider, access.key, access.host, &focused_);
  configure(*next);
  if (options_.isRaw) next->showRawFailures();
  if (!access.model.empty()) next->setText("model", access.model);
  connection_ = std::move(next);
  known_[provider.name] = access;
}

void Session::setModel(const std::string& model) {
  connection_->setText("model", model);
  known_[connection_->provider().name].model = model;
}

void Session::configure(Connection& connection) const {
  if (!options_.instructions.empty()) connection.setText("user_instructions", options_.instructions);
  connection.set("system_instructions", systemInstructions_);
  if (options_.temperature) {
    connection.set("temperature", *options_.temperature);
    connection.set("use_temperature", 1);
  }
  if (connection.provider().takesMaxTokens) connection.set("max_tokens", options_.maxTokens.value_or(kMaxTokens));
}

void Session::describeDatabase(const zeakit::BuiltStructure& structure) {
  systemInstructions_ = {{"answer_form", "Write SQL in fenced sql blocks."}};
  for (const auto& [name, text] : structure.instructions) {
    // They tell of every table, whatever the question; of a large database that is more than the tables themselves.
    const bool isTooLong = options_.budget > 0 && zeakit::estimateTokens(text) > options_.budget / 4;
    if (isTooLong) printNote("The questions go without " + name + ", which would take most of --budget.");
    if (!isTooLong) systemInstructions_[name] = text;
  }
  connection_->set("system_instructions", systemInstructions_);
  connection_->set("db_structure", structure.document);  // into the memory
  zeakit::FitOptions all;
  all.budget = 1'000'000'000;
  tableNames_.clear();
  for (auto& table : zeakit::StructureIndex(structure.document).fit({}, all).tables) {
    tableNames_.push_back(std::move(table.name));
  }
}

void Session::changeProvider(const std::string& name, const std::string& model, const std::string& host) {
  const Provider provider = findProvider(name);
  const auto known = known_.find(provider.name);
  Access access = known == known_.end() ? Access{} : known->second;
  if (!model.empty()) access.model = model;
  if (!host.empty()) access.host = host;
  requireModel(provider, access.model, "/provider " + std::string(provider.option) + " MODEL");
  if (access.key.text.empty()) access.key = obtainKey(provider);
  connectTo(provider, access);
}

std::string Session::obtainProvider() const {
  const std::string model = obtainModel();
  return std::string(connection_->provider().name) + (model.empty() ? "" : ", model " + model);
}

}  // namespace console
