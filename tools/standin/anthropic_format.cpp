// SPDX-License-Identifier: Apache-2.0
// The format of ANTHROPIC's messages.
#include "standin/format_parts.h"
#include "standin/formats.h"

namespace standin {

namespace {

constexpr const char* kKeyHeader = "x-api-key";
constexpr const char* kVersionHeader = "anthropic-version";

const char* typeOf(Fault fault) {
  if (fault == Fault::NotFound) return "not_found_error";
  return fault == Fault::NoCredentials ? "authentication_error" : "invalid_request_error";
}

class AnthropicFormat final : public WireFormat {
 public:
  Endpoints endpoints() const override {
    return {"ANTHROPIC, its listing by its headers", "/v1/messages", "/v1/models"};
  }

  void checkCredentials(const Request& request) const override {
    if (request.header(kKeyHeader).empty()) throw Refusal("x-api-key header is required", Fault::NoCredentials);
    if (request.header(kVersionHeader) != "2023-06-01") {
      throw Refusal("anthropic-version: a header with a known version is required");
    }
  }

  void writeReply(const Conversation& conversation, const std::string& text, COJson& reply) const override {
    addText(reply, "id", "standin-answer");
    addText(reply, "type", "message");
    addText(reply, "role", "assistant");
    addText(reply, "model", conversation.model);
    COJsonValue* block = reply.addKeyValue("content")->addArrayItem();
    addText(*block, "type", "text");
    addText(*block, "text", text);
    addText(reply, "stop_reason", "end_turn");
    const Usage tokens = usageOf(conversation, text);
    COJsonValue* usage = reply.addKeyValue("usage");
    usage->addKeyValue("input_tokens")->setIntValue(tokens.sent);
    usage->addKeyValue("output_tokens")->setIntValue(tokens.given);
  }

  void writeListing(const std::vector<ModelDescription>& models, COJson& reply) const override {
    COJsonValue* data = reply.addKeyValue("data");
    data->setAsArray();
    for (const ModelDescription& model : models) {
      COJsonValue* item = data->addArrayItem();
      addText(*item, "type", "model");
      addText(*item, "id", model.name);
      addText(*item, "display_name", model.name);
      addText(*item, "created_at", timeText(model.createdAt));
    }
    reply.addKeyValue("has_more")->setBoolValue(false);
  }

  void writeRefusal(const Refusal& refusal, COJson& reply) const override {
    addText(reply, "type", "error");
    COJsonValue* error = reply.addKeyValue("error");
    addText(*error, "type", typeOf(refusal.fault()));
    addText(*error, "message", refusal.what());
  }

 protected:
  bool claims(const Request& request) const override {
    const bool isShared = pathOf(request) == endpoints().listing;
    return !isShared || !request.header(kKeyHeader).empty() || !request.header(kVersionHeader).empty();
  }

  void checkSettings(const COJsonValue& body) const override {
    static_cast<void>(requireMember(body, "max_tokens", COJsonValueType::Integer));
    checkTokenLimit(body, "max_tokens");
    checkTemperature(body, 1.0);
    checkStream(body);
  }

  std::string readSystem(const COJsonValue& body) const override {
    const COJsonValue* system = findMember(body, "system", COJsonValueType::String);
    return system == nullptr ? std::string() : system->obtainStringValue();
  }

  bool isInstruction(std::string_view) const override { return false; }
};

}  // namespace

std::unique_ptr<WireFormat> createAnthropicFormat() { return std::make_unique<AnthropicFormat>(); }

}  // namespace standin
