#include "console/session.h"

#include <utility>

#include "console/console_output.h"
#include "console/utf8.h"

namespace console {

namespace {

constexpr const char* kStandinModel = "standin-large";
constexpr const char* kStandinKey = "stand-in";
// Codes from 100 on are HTTP statuses; 0 is a reply that came whole, and could not be used.
constexpr std::int32_t kFirstStatus = 100;

// OLLAMA answers without a model's name where it has a default; all others refuse.
void checkModel(const ConsoleOptions& options, const Provider& provider) {
  const bool isNeeded = provider.needsModel && options.command != Command::Models;
  if (!isNeeded || !options.model.empty()) return;
  const std::string name(provider.option);
  throw Failure(ExitCode::Usage, "Name a model with --model; zea models --provider " + name + " lists them.");
}

}  // namespace

std::unique_ptr<Session> Session::connect(const ConsoleOptions& options) {
  if (!options.provider.empty()) {
    const Provider provider = findProvider(options.provider);
    checkModel(options, provider);
    const std::string key = obtainKey(provider, options.keyFile);
    return std::unique_ptr<Session>(new Session(provider.type, key, options.host, options));
  }
  auto standin = std::make_unique<standin::Server>();
  printNote("No provider is named: a stand-in on this machine answers, no model. See --provider.");
  std::unique_ptr<Session> session(new Session(ZEAAssistantType::OPENAI_v1, kStandinKey, standin->url(), options));
  session->standin_ = std::move(standin);
  if (options.model.empty()) session->setModel(kStandinModel);
  return session;
}

std::unique_ptr<Session> Session::createOffline(const ConsoleOptions& options) {
  return std::unique_ptr<Session>(new Session(ZEAAssistantType::OPENAI_v1, {}, {}, options));
}

Session::Session(ZEAAssistantType type, const std::string& key, const std::string& host,
                 const ConsoleOptions& options) {
  std::unique_ptr<ICSHTTPPoolCenter> pool(QX::createHTTPPoolCenter());
  assistant_.reset(ZEACreateAssistant(type, pool.get(), key, host, nullptr));
  if (!assistant_) throw std::logic_error("The library does not know the provider.");
  pool_ = pool.release();
  if (!options.model.empty()) setModel(options.model);
  if (!options.instructions.empty()) set("user_instructions", repairUtf8(options.instructions));
  if (options.temperature) {
    set("temperature", *options.temperature);
    set("use_temperature", 1);
  }
}

void Session::describeDatabase(const std::string& structureDocument, const std::string& system) {
  set("db_structure", structureDocument);
  const std::string dialect = "The statements below describe the user's " + system +
                              " database. Write SQL in its dialect, in fenced sql blocks.";
  set("system_instructions", CMVariantMap{{"dialect", dialect}});
}

void Session::setModel(const std::string& model) { set("model", repairUtf8(model)); }

std::string Session::obtainModel() const { return obtainProperty("model"); }

std::string Session::obtainPrompt() const { return obtainProperty("combined_instructions"); }

std::vector<std::string> Session::listModels() {
  auto [models, failure] = assistant_->obtainAvailableModels();
  if (!failure.empty()) throw fail(failure);
  if (models.empty()) throw fail("The provider lists no models.");
  return std::move(models);
}

std::string Session::ask(const std::string& question) {
  const auto [reply, failure] = assistant_->addMessage(repairUtf8(question));
  const std::unique_ptr<IZEAMessage, Free> message(reply);
  if (!message) throw fail(failure);
  std::string text;
  for (const IZEAMessageSection* section : message->obtainSections()) text += section->obtainSectionText();
  return text;
}

void Session::set(const std::string& key, const CMVariant& value) {
  bool isSet = false;
  const std::string failure =
      assistant_->updateProperties([&](IZEAProperties* properties) { isSet = properties->setValue(key, value); });
  if (!isSet || !failure.empty()) throw std::logic_error("The library did not accept " + key + ". " + failure);
}

std::string Session::obtainProperty(const std::string& key) const {
  const std::unique_ptr<IZEAProperties, Free> properties(assistant_->obtainProperties());
  return properties->obtainValue(key).stringValue();
}

Failure Session::fail(const std::string& sentence) const {
  const std::int32_t code = QX::obtainLastCode(pool_);
  const bool isTransport = code != CMRestCode::Success && code < kFirstStatus;
  return {isTransport ? ExitCode::Transport : ExitCode::Refused,
          sentence.empty() ? "The provider gave no reason." : sentence};
}

}  // namespace console
