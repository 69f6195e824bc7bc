// SPDX-License-Identifier: Apache-2.0
#include "zea_openai_call.h"

#include "zea_json_read.h"

using namespace zea;

ZEAPath ZEAOpenAICall::chatPath() const { return {"v1", "chat", "completions"}; }

ZEAPath ZEAOpenAICall::listingPath() const { return {"v1", "models"}; }

const char* ZEAOpenAICall::instructionsRole() const { return "system"; }

std::optional<std::int32_t> ZEAOpenAICall::sortKey(const COJsonValue& model) const {
  return integerMember(model, "created");
}

void ZEAOpenAICall::writeBody(COJson& body, const ZEAPrompt& prompt) const {
  body.addKeyValue("model")->setStringValue(properties.model);
  writeTemperature(body);
  COJsonValue* const messages = body.addKeyValue("messages");
  messages->setAsArray();
  writeInstructions(*messages, instructionsRole(), prompt);
  writeTurns(*messages, prompt);
}

std::optional<std::string> ZEAOpenAICall::readReply(const COJsonValue& body) const {
  const COJsonValue* const choices = arrayMember(body, "choices");
  if (choices == nullptr) return std::nullopt;
  std::string reply;
  forEachItem(*choices, [&reply](const COJsonValue& choice) {
    const COJsonValue* const message = objectMember(choice, "message");
    if (message == nullptr) return;
    const auto content = stringMember(*message, "content");
    if (content && stringMember(*message, "role") == "assistant") reply.append(*content);
  });
  return reply;
}

std::optional<std::string> ZEAOpenAICall::checkListing(const ZEAAnswer& answer) const { return bodyFirst(answer); }

std::optional<std::string> ZEAOpenAICall::errorInBody(const COJsonValue& body, const ZEAAnswer& answer) const {
  const COJsonValue* const error = objectMember(body, "error");
  if (error == nullptr) return std::nullopt;
  return std::string(stringMember(*error, "message").value_or(answer.transportError));
}

std::optional<std::vector<std::string>> ZEAOpenAICall::readModels(const COJsonValue& body) const {
  const COJsonValue* const data = arrayMember(body, "data");
  if (data == nullptr) return std::nullopt;
  std::vector<DatedModel> models;
  forEachItem(*data, [&](const COJsonValue& model) {
    const auto name = stringMember(model, "id");
    const auto date = sortKey(model);
    if (name && date && stringMember(model, "object") == "model") models.push_back({*date, std::string(*name)});
  });
  return newestFirst(std::move(models));
}
