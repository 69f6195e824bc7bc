// SPDX-License-Identifier: Apache-2.0
#include "zea_call.h"

#include <algorithm>
#include <chrono>

#include "qx/defer.h"
#include "qx/http_pool_center.h"
#include "qx/secret.h"
#include "qx/text.h"
#include "zea_default_assistant_memory.h"
#include "zea_failure_text.h"
#include "zea_http.h"
#include "zea_message.h"
#include "zea_message_text_section.h"
#include "zea_provider_error.h"

using namespace zea;

namespace {

constexpr std::int32_t kTurnsAskedFor = 20;

/// One of the library's own texts in the host's language, and after it where it happened: ": p/v1/chat/completions".
std::string fixedFailure(const char* text, const char* method, const ZEAPath& path) {
  std::string failure = localizeText(text).append(": ").append(method);
  for (const std::string& segment : path) failure.append("/").append(segment);
  return failure;
}

std::string fixedListingFailure(const char* text, const ZEAPath& path) { return fixedFailure(text, "g", path); }

ZEAAnswer answerOf(const HTTP::Result& result) {
  const COJson* const json = result.first->bodyJson.get();
  return {*result.first, result.second, json != nullptr && json->getIsValidJson() ? json : nullptr};
}

std::int64_t secondsSinceEpoch() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::seconds>(now).count();
}

void writeMessage(COJsonValue& item, const char* role, qx::KeptText content) {
  item.addKeyValue("role")->setStringValue(role);
  qx::setStringView(*item.addKeyValue("content"), content);
}

/// The query parameters of a call, wiped at its end: a key may be among them.
struct Query {
  explicit Query(CMRestParamList params) : list(std::move(params)) {}
  ~Query() { qxWipe(list); }
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  CMRestParamList list;
};

/// A body whose text is ready: the call takes it away, since prompts are long.
class ReadyBody final : public ICOJsonValue {
 public:
  explicit ReadyBody(std::string text) : text_(std::move(text)) {}
  std::string obtainJsonString() const override { return text_; }
  std::string releaseJsonString() override { return std::move(text_); }

 private:
  std::string text_;
};

}  // namespace

std::pair<IZEAMessage*, std::string> ZEACall::sendMessage(const std::string& text) const {
  const QXCancelScope scope(session_.poolCenter);  // making the text of a large database takes a while
  if (!hasUsableModel()) return failedMessage(kModelIsEmpty);

  ReadyBody body(makeBody(text));
  if (!hasUsableModel()) return failedMessage(kModelIsEmpty);  // a host's memory may have changed it meanwhile
  const Query params(query());
  const HTTP::Result result = HTTP::Post(&session_, chatURL(), &body, params.list, {});
  const CODefer freeResponse([&result] { delete result.first; });
  const ZEAAnswer answer = answerOf(result);

  if (!answer.transportError.empty()) return {nullptr, providerOrTransportText(answer)};
  if (answer.json == nullptr) return failedMessage(kInvalidResponse);
  std::optional<std::string> reply = readReply(*answer.json);
  if (!reply) return failedMessage(kUnsupportedDataFormat);
  return {remember(text, std::move(*reply)).release(), std::string()};
}

/// The text of the body. The memory is asked for all that it has before the store is read, since a host's may change it
/// meanwhile. Of all that the text is made of nothing is left when this returns: models take their time.
std::string ZEACall::makeBody(const std::string& text) const {
  RememberedText document = readStructureDocument(memory_);
  const RememberedTurns turns = readTurns(memory_, kTurnsAskedFor);
  const std::string instructions = properties.combineInstructions(std::move(document));
  COJson body;
  writeBody(body, {instructions, turns.obtain(), text});
  return body.obtainJsonString();
}

std::pair<std::vector<std::string>, std::string> ZEACall::listModels() const {
  const Query params(query());
  const HTTP::Result result = HTTP::Get(&session_, listingURL(), params.list, {});
  const CODefer freeResponse([&result] { delete result.first; });
  const ZEAAnswer answer = answerOf(result);

  std::optional<std::string> failure = checkListing(answer);
  if (failure) return {std::vector<std::string>(), std::move(*failure)};
  if (answer.json == nullptr) return {{}, fixedListingFailure(kInvalidResponse, listingPath())};
  std::optional<std::vector<std::string>> models = readModels(*answer.json);
  if (!models) return {{}, fixedListingFailure(kUnsupportedDataFormat, listingPath())};
  return {std::move(*models), std::string()};
}

std::string ZEACall::providerText(const CMRestResourceResponse& response) const { return extractErrorText(response); }

void ZEACall::writeTurn(COJsonValue& item, bool isAssistant, qx::KeptText text) const {
  writeMessage(item, isAssistant ? "assistant" : "user", text);
}

std::optional<std::string> ZEACall::checkListing(const ZEAAnswer& answer) const { return transportFirst(answer); }

std::optional<std::string> ZEACall::errorInBody(const COJsonValue& body, const ZEAAnswer& answer) const {
  if (body.obtainKeyValue("error") == nullptr) return std::nullopt;
  return providerText(answer.response);
}

std::optional<std::string> ZEACall::transportFirst(const ZEAAnswer& answer) const {
  if (answer.transportError.empty()) return std::nullopt;
  return providerOrTransportText(answer);
}

std::optional<std::string> ZEACall::bodyFirst(const ZEAAnswer& answer) const {
  if (answer.json == nullptr) return answer.transportError;
  return errorInBody(*answer.json, answer);
}

std::string ZEACall::providerOrTransportText(const ZEAAnswer& answer) const {
  std::string text = providerText(answer.response);
  return text.empty() ? answer.transportError : text;
}

void ZEACall::writeTemperature(COJsonValue& object) const {
  if (properties.sendsTemperature()) object.addKeyValue("temperature")->setDoubleValue(properties.temperature);
}

void ZEACall::writeInstructions(COJsonValue& array, const char* role, const ZEAPrompt& prompt) {
  if (!prompt.instructions.empty()) writeMessage(*array.addArrayItem(), role, prompt.instructions);
}

void ZEACall::writeTurns(COJsonValue& array, const ZEAPrompt& prompt) const {
  for (const ZEAAssistantMemoryEntry& turn : prompt.turns) {
    writeTurn(*array.addArrayItem(), turn.role == ZEARoleAssistant, turn.text);
  }
  writeTurn(*array.addArrayItem(), false, prompt.text);
}

std::vector<std::string> ZEACall::newestFirst(std::vector<DatedModel> models) {
  // Only numbers move while they are sorted.
  std::vector<std::pair<std::int64_t, std::size_t>> order;
  order.reserve(models.size());
  for (const DatedModel& model : models) order.emplace_back(-std::int64_t{model.date}, order.size());
  std::sort(order.begin(), order.end());
  std::vector<std::string> names;
  names.reserve(models.size());
  for (const auto& [date, index] : order) names.push_back(std::move(models[index].name));
  return names;
}

std::string ZEACall::urlOf(ZEAPath path) const {
  path.insert(path.begin(), properties.apiHost);
  return qxConcatURL(path);
}

std::pair<IZEAMessage*, std::string> ZEACall::failedMessage(const char* text) const {
  return {nullptr, fixedFailure(text, "p", chatPath())};
}

/// Makes the reply and records both turns: the only place that writes to the memory.
std::unique_ptr<IZEAMessage> ZEACall::remember(const std::string& text, std::string reply) const {
  auto message = std::make_unique<ZEAMessage>();
  message->createdAt = secondsSinceEpoch();
  auto section = std::make_unique<ZEAMessageTextSection>();
  section->text = std::move(reply);
  const std::string& recorded = section->text;
  message->sections.reserve(1);
  message->sections.push_back(section.release());
  memory_.addEntry(ZEARoleUser, text);
  memory_.addEntry(ZEARoleAssistant, recorded);
  return message;
}
