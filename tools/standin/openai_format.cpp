#include "standin/openai_format.h"

#include <ctime>
#include <string_view>

namespace standin {

namespace {

constexpr std::string_view kInvalidRequest = "invalid_request_error";
// A token is about four bytes of English text.
constexpr std::size_t kBytesPerToken = 4;

Refusal refuse(std::string message) { return {400, std::string(kInvalidRequest), std::move(message)}; }

// The member of a kind, or null.
const COJsonValue* memberOf(const COJsonValue& object, std::string_view key, COJsonValueType type) {
  const COJsonValue* member = object.obtainKeyValue(key);
  return member != nullptr && member->obtainType() == type ? member : nullptr;
}

bool isTemperature(const COJsonValue& value) {
  const auto type = value.obtainType();
  if (type != COJsonValueType::Integer && type != COJsonValueType::Double) return false;
  return value.obtainDoubleValue() >= 0.0 && value.obtainDoubleValue() <= 2.0;
}

bool isTurn(std::string_view role) { return role == "user" || role == "assistant"; }

bool isInstruction(std::string_view role) { return role == "system" || role == "developer"; }

// Takes one item of "messages" into the conversation; the reason when it cannot be.
std::optional<Refusal> takeMessage(const COJsonValue& item, bool isLast, Conversation& conversation) {
  const COJsonValue* role = memberOf(item, "role", COJsonValueType::String);
  const COJsonValue* content = memberOf(item, "content", COJsonValueType::String);
  if (role == nullptr) return refuse("A message has no role.");
  if (content == nullptr) return refuse("A message has no content.");
  const std::string_view word = role->obtainStringView();
  if (isInstruction(word)) {
    if (!conversation.system.empty()) conversation.system += '\n';
    conversation.system += content->obtainStringView();
  } else if (!isTurn(word)) {
    return refuse("Invalid value: '" + std::string(word) +
                  "'. Supported values are: 'system', 'developer', 'user' and 'assistant'.");
  } else if (isLast) {
    conversation.question = content->obtainStringView();
  } else {
    ++conversation.earlierTurns;
  }
  return std::nullopt;
}

std::int32_t tokensOf(std::size_t bytes) {
  return static_cast<std::int32_t>((bytes + kBytesPerToken - 1) / kBytesPerToken);
}

void writeUsage(const Conversation& conversation, const std::string& text, COJsonValue& usage) {
  const std::int32_t sent = tokensOf(conversation.system.size() + conversation.question.size());
  const std::int32_t given = tokensOf(text.size());
  usage.addKeyValue("prompt_tokens")->setIntValue(sent);
  usage.addKeyValue("completion_tokens")->setIntValue(given);
  usage.addKeyValue("total_tokens")->setIntValue(sent + given);
}

}  // namespace

std::optional<Operation> OpenAiFormat::operationOf(const Request& request) const {
  const std::string path = pathOf(request);
  if (request.method == "POST" && path.ends_with("/v1/chat/completions")) return Operation::Chat;
  if (request.method == "GET" && path.ends_with("/v1/models")) return Operation::Listing;
  return std::nullopt;
}

bool OpenAiFormat::hasCredentials(const Request& request) const {
  constexpr std::string_view scheme = "Bearer ";
  const std::string value = request.header("Authorization");
  return value.starts_with(scheme) && !qxTrimAsString(value.substr(scheme.size())).empty();
}

std::variant<Conversation, Refusal> OpenAiFormat::readChat(const Request&, const COJsonValue& body) const {
  Conversation conversation;
  const COJsonValue* model = memberOf(body, "model", COJsonValueType::String);
  if (model == nullptr || model->obtainStringView().empty()) return refuse("You must provide a model parameter.");
  conversation.model = model->obtainStringView();

  const COJsonValue* temperature = body.obtainKeyValue("temperature");
  if (temperature != nullptr && !isTemperature(*temperature)) {
    return refuse("Invalid 'temperature': it must be a number from 0 to 2.");
  }

  const COJsonValue* messages = memberOf(body, "messages", COJsonValueType::Array);
  if (messages == nullptr) return refuse("Missing required parameter: 'messages'.");
  const std::size_t count = messages->obtainArraySize();
  if (count == 0) return refuse("Invalid 'messages': empty array.");
  for (std::size_t index = 0; index < count; ++index) {
    auto reason = takeMessage(*messages->obtainArrayItem(index), index + 1 == count, conversation);
    if (reason) return *std::move(reason);
  }
  return conversation;
}

void OpenAiFormat::writeReply(const Conversation& conversation, const std::string& text, COJson& reply) const {
  reply.addKeyValue("id")->setStringValue("standin-answer");
  reply.addKeyValue("object")->setStringValue("chat.completion");
  reply.addKeyValue("created")->setIntValue(static_cast<std::int32_t>(std::time(nullptr)));
  reply.addKeyValue("model")->setStringValue(conversation.model);
  COJsonValue* choice = reply.addKeyValue("choices")->addArrayItem();
  choice->addKeyValue("index")->setIntValue(0);
  COJsonValue* message = choice->addKeyValue("message");
  message->addKeyValue("role")->setStringValue("assistant");
  message->addKeyValue("content")->setStringValue(text);
  choice->addKeyValue("finish_reason")->setStringValue("stop");
  writeUsage(conversation, text, *reply.addKeyValue("usage"));
}

void OpenAiFormat::writeListing(const std::vector<ModelDescription>& models, COJson& reply) const {
  reply.addKeyValue("object")->setStringValue("list");
  COJsonValue* data = reply.addKeyValue("data");
  data->setAsArray();
  for (const ModelDescription& model : models) {
    COJsonValue* item = data->addArrayItem();
    item->addKeyValue("id")->setStringValue(model.name);
    item->addKeyValue("object")->setStringValue("model");
    item->addKeyValue("created")->setIntValue(model.createdAt);
    item->addKeyValue("owned_by")->setStringValue("standin");
  }
}

void OpenAiFormat::writeRefusal(const Refusal& refusal, COJson& reply) const {
  COJsonValue* error = reply.addKeyValue("error");
  error->addKeyValue("message")->setStringValue(refusal.message);
  error->addKeyValue("type")->setStringValue(refusal.kind);
}

}  // namespace standin
