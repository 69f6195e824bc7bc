// SPDX-License-Identifier: Apache-2.0
// The OpenAI chat-completions format, and what four others of its family do differently.
#include <cmath>
#include <ctime>

#include "standin/format_parts.h"
#include "standin/formats.h"

namespace standin {

namespace {

constexpr std::string_view kScheme = "Bearer ";

// The key after "Authorization: Bearer "; empty when there is none.
std::string bearerOf(const Request& request) {
  const std::string value = request.header("Authorization");
  return value.starts_with(kScheme) ? qxTrimAsString(value.substr(kScheme.size())) : std::string();
}

const char* codeOf(Fault fault) { return fault == Fault::NoCredentials ? "invalid_api_key" : "unknown_url"; }

/// As OPENAI has it; MOONSHOT's requests look the same.
class OpenAiFormat : public WireFormat {
 public:
  Endpoints endpoints() const override { return {"OPENAI, MOONSHOT", "/v1/chat/completions", "/v1/models"}; }

  void checkCredentials(const Request& request) const override {
    if (bearerOf(request).empty()) throw Refusal("You didn't provide an API key.", Fault::NoCredentials);
  }

  void writeReply(const Conversation& conversation, const std::string& text, COJson& reply) const override {
    addText(reply, "id", "standin-answer");
    addText(reply, "object", "chat.completion");
    reply.addKeyValue("created")->setIntValue(static_cast<std::int32_t>(std::time(nullptr)));
    addText(reply, "model", conversation.model);
    COJsonValue* choice = reply.addKeyValue("choices")->addArrayItem();
    choice->addKeyValue("index")->setIntValue(0);
    COJsonValue* message = choice->addKeyValue("message");
    addText(*message, "role", "assistant");
    addText(*message, "content", text);
    addText(*choice, "finish_reason", "stop");
    const Usage tokens = usageOf(conversation, text);
    COJsonValue* usage = reply.addKeyValue("usage");
    usage->addKeyValue("prompt_tokens")->setIntValue(tokens.sent);
    usage->addKeyValue("completion_tokens")->setIntValue(tokens.given);
    usage->addKeyValue("total_tokens")->setIntValue(tokens.sent + tokens.given);
  }

  void writeListing(const std::vector<ModelDescription>& models, COJson& reply) const override {
    addText(reply, "object", "list");
    COJsonValue* data = reply.addKeyValue("data");
    data->setAsArray();
    for (const ModelDescription& model : models) {
      COJsonValue* item = data->addArrayItem();
      addText(*item, "id", model.name);
      addText(*item, "object", "model");
      item->addKeyValue("created")->setIntValue(model.createdAt);
      addText(*item, "owned_by", "standin");
    }
  }

  void writeRefusal(const Refusal& refusal, COJson& reply) const override {
    COJsonValue* error = reply.addKeyValue("error");
    addText(*error, "message", refusal.what());
    addText(*error, "type", "invalid_request_error");
    COJsonValue* code = error->addKeyValue("code");  // null for what is wrong in the body
    if (refusal.fault() != Fault::BadRequest) code->setStringValue(codeOf(refusal.fault()));
  }

 protected:
  virtual double highestTemperature() const { return 2.0; }

  void checkSettings(const COJsonValue& body) const override {
    checkTemperature(body, highestTemperature());
    checkStream(body);
    checkTokenLimit(body, "max_tokens");
  }

  bool isInstruction(std::string_view role) const override {
    return role == "developer" || WireFormat::isInstruction(role);
  }
};

/// X shares OPENAI's paths; its keys are known by how they begin. It has refusals of its own.
class XFormat final : public OpenAiFormat {
 public:
  Endpoints endpoints() const override {
    Endpoints shared = OpenAiFormat::endpoints();
    shared.providers = "X, by a key that begins with xai-";
    return shared;
  }

  void writeRefusal(const Refusal& refusal, COJson& reply) const override {
    addText(reply, "code", refusal.fault() == Fault::NotFound ? "Not found" : "Client specified an invalid argument");
    addText(reply, "error", refusal.what());
  }

 protected:
  bool claims(const Request& request) const override { return bearerOf(request).starts_with("xai-"); }
};

/// The members of the family that do not know the role "developer".
class CompatibleFormat : public OpenAiFormat {
 protected:
  bool isInstruction(std::string_view role) const override { return WireFormat::isInstruction(role); }
};

class AlibabaFormat final : public CompatibleFormat {
 public:
  Endpoints endpoints() const override {
    return {"ALIBABA", "/compatible-mode/v1/chat/completions", "/compatible-mode/v1/models"};
  }

 protected:
  // 2 itself is refused.
  double highestTemperature() const override { return std::nextafter(2.0, 0.0); }
};

class BytedanceFormat final : public CompatibleFormat {
 public:
  Endpoints endpoints() const override { return {"BYTEDANCE", "/api/v3/chat/completions", {}}; }
};

class DeepseekFormat final : public CompatibleFormat {
 public:
  Endpoints endpoints() const override { return {"DEEPSEEK", "/chat/completions", "/models"}; }
};

}  // namespace

std::unique_ptr<WireFormat> createOpenAiFormat() { return std::make_unique<OpenAiFormat>(); }

std::unique_ptr<WireFormat> createXFormat() { return std::make_unique<XFormat>(); }

std::unique_ptr<WireFormat> createAlibabaFormat() { return std::make_unique<AlibabaFormat>(); }

std::unique_ptr<WireFormat> createBytedanceFormat() { return std::make_unique<BytedanceFormat>(); }

std::unique_ptr<WireFormat> createDeepseekFormat() { return std::make_unique<DeepseekFormat>(); }

}  // namespace standin
