// SPDX-License-Identifier: Apache-2.0
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

/// Without a slash at its end, and without what the path of the requests repeats: "http://here/v1" is what others call
/// a base URL.
std::string shortenHost(const std::string& host, const std::string& endpoint) {
  std::string shortened = qxTrimAsString(host);
  while (shortened.ends_with('/')) shortened.pop_back();
  const std::size_t begin = endpoint.find(shortened);
  if (shortened.empty() || begin == endpoint.npos) return shortened;
  std::string path = endpoint.substr(begin + shortened.size());
  while (path.starts_with("//")) path.erase(0, 1);
  for (std::size_t end = path.size(); end != 0 && end != path.npos; end = path.rfind('/', end - 1)) {
    const std::string_view repeated = std::string_view(path).substr(0, end);
    if (shortened.ends_with(repeated)) return shortened.substr(0, shortened.size() - repeated.size());
  }
  return shortened;
}

}  // namespace

Connection::Connection(const Provider& provider, const ProviderKey& key, const std::string& host,
                       IZEAAssistantMemory* memory)
    : provider_(provider), key_(key) {
  create(host, memory);
  const std::string shortened = shortenHost(host, assistant_->obtainEndpointURL());
  if (shortened != host) create(shortened, memory);
}

void Connection::create(const std::string& host, IZEAAssistantMemory* memory) {
  assistant_ = zea::createAssistant(provider_.type, key_.text, host, memory, calls_);
  if (!assistant_) throw std::logic_error("The library does not know the provider.");
}

void Connection::set(const std::string& key, const CMVariant& value) {
  if (!zea::setProperty(*assistant_, key, value)) throw std::logic_error("The library did not accept " + key + ".");
}

void Connection::setText(const std::string& key, const std::string& text) { set(key, repairUtf8(text)); }

std::string Connection::obtainText(const std::string& key) const {
  const zea::Owned<IZEAProperties> properties(assistant_->obtainProperties());
  return properties->obtainValue(key).stringValue();
}

bool Connection::isSecureHere() const {
  const std::string url = assistant_->obtainEndpointURL();
  return url.starts_with("https://localhost") || url.starts_with("https://127.") || url.starts_with("https://[::1]");
}

std::vector<std::string> Connection::listModels() {
  const CancelOnInterrupt interrupt(calls_);
  auto [models, failure] = [this] {
    const WaitingNote waiting;
    return assistant_->obtainAvailableModels();
  }();
  if (!failure.empty()) throw fail(failure);
  if (models.empty()) throw fail("The provider's listing names no models, or is not whole.");
  return std::move(models);
}

std::string Connection::ask(const std::string& question) {
  const CancelOnInterrupt interrupt(calls_);
  zea::Answer answer = [&] {
    const WaitingNote waiting;
    return zea::ask(*assistant_, repairUtf8(question));
  }();
  if (!answer.isAnswered) throw fail(answer.failure);
  if (qxTrimAsString(answer.text).empty()) {
    throw Failure(ExitCode::Blank,
                  "The model answered with nothing: it may have refused, or have had no room left for an answer. The "
                  "question is not kept.");
  }
  return std::move(answer.text);
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
  const std::string masked = key_.text.size() < shortestKey ? sentence : qxMaskSecret(sentence, key_.text);
  std::string text = isRaw_ || sentence.empty() ? masked : shortenFailure(masked, code);
  if (text.empty()) text = "The provider gave no reason.";
  if (!isRaw_) text += hintFor(code);
  const bool isTransport = code != CMRestCode::Success && code < kFirstStatus;
  return {isTransport ? ExitCode::Transport : ExitCode::Refused, text};
}

std::string Connection::hintFor(std::int32_t code) const {
  const std::string name(provider_.name);
  const std::string key = key_.origin.empty() ? "" : " the key from " + key_.origin;
  if (code == 401 || code == 403) return " (" + name + " does not take" + (key.empty() ? " a key" : key) + ".)";
  if (code == 429) return " (" + name + (key.empty() ? "" : ", with" + key) + ".)";
  const bool isOfTls = code == CMRestCode::TLSFailed || code == CMRestCode::ClosedBeforeReply ||
                       code == CMRestCode::RequestTimedOut || code == CMRestCode::ConnectTimedOut;
  return isOfTls && isSecureHere() ? " (It was asked over https: for a server without that, try http:// with the host.)"
                                   : "";
}

}  // namespace console
