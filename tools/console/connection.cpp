#include "console/connection.h"

#include <zeakit/ask_for_statement.h>

#include <stdexcept>
#include <utility>

#include "console/failure_text.h"
#include "console/interrupt.h"
#include "console/utf8.h"
#include "console/waiting_note.h"

namespace console {

namespace {

// Codes from 100 on are HTTP statuses; 0 is a reply that came whole, and could not be used.
constexpr std::int32_t kFirstStatus = 100;

}  // namespace

Connection::Connection(const Provider& provider, const std::string& key, const std::string& host,
                       IZEAAssistantMemory* memory)
    : provider_(provider), key_(key) {
  std::unique_ptr<ICSHTTPPoolCenter> pool(QX::createHTTPPoolCenter(calls_));
  assistant_.reset(ZEACreateAssistant(provider.type, pool.get(), key, host, memory));
  if (!assistant_) throw std::logic_error("The library does not know the provider.");
  static_cast<void>(pool.release());  // it is the assistant's now
}

void Connection::set(const std::string& key, const CMVariant& value) {
  bool isSet = false;
  const std::string failure =
      assistant_->updateProperties([&](IZEAProperties* properties) { isSet = properties->setValue(key, value); });
  if (!isSet || !failure.empty()) throw std::logic_error("The library did not accept " + key + ". " + failure);
}

void Connection::setText(const std::string& key, const std::string& text) { set(key, repairUtf8(text)); }

std::string Connection::obtainText(const std::string& key) const {
  const Owned<IZEAProperties> properties(assistant_->obtainProperties());
  return properties->obtainValue(key).stringValue();
}

std::vector<std::string> Connection::listModels() {
  auto [models, failure] = assistant_->obtainAvailableModels();
  if (!failure.empty()) throw fail(failure);
  if (models.empty()) throw fail("The provider lists no models.");
  return std::move(models);
}

std::string Connection::ask(const std::string& question) {
  const CancelOnInterrupt interrupt(calls_);
  const auto [reply, failure] = [&] {
    const WaitingNote waiting;
    return assistant_->addMessage(repairUtf8(question));
  }();
  const Owned<IZEAMessage> message(reply);
  if (!message) throw fail(failure);
  std::string text;
  for (const IZEAMessageSection* section : message->obtainSections()) text += section->obtainSectionText();
  if (qxTrimAsString(text).empty()) {
    throw Failure(ExitCode::Blank,
                  "The model answered with nothing: it may have refused, or have had no room left for an answer. The "
                  "question is not kept.");
  }
  return text;
}

std::string Connection::askForStatement(const std::string& question, zeakit::IReadOnlyRunner& runner) {
  const CancelOnInterrupt interrupt(calls_);
  const WaitingNote waiting;
  const auto asked = zeakit::askForStatement(*assistant_, runner, repairUtf8(question));
  if (!asked.error.empty()) throw fail(asked.error);
  return asked.statement;
}

Failure Connection::fail(const std::string& sentence) const {
  const std::int32_t code = calls_->obtainLastCode();
  // What is shorter is no key, and a part of words.
  constexpr std::size_t shortestKey = 8;
  const std::string masked = key_.size() < shortestKey ? sentence : qxMaskSecret(sentence, key_);
  std::string text = isRaw_ || sentence.empty() ? masked : shortenFailure(masked, code);
  if (text.empty()) text = "The provider gave no reason.";
  if (code == 401 && !isRaw_) text += " (" + std::string(provider_.name) + " does not take the key.)";
  const bool isTransport = code != CMRestCode::Success && code < kFirstStatus;
  return {isTransport ? ExitCode::Transport : ExitCode::Refused, text};
}

}  // namespace console
