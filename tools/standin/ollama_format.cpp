// SPDX-License-Identifier: Apache-2.0
// The format of a local OLLAMA server.
#include <ctime>
#include <limits>

#include "standin/format_parts.h"
#include "standin/formats.h"

namespace standin {

namespace {

class OllamaFormat final : public WireFormat {
 public:
  Endpoints endpoints() const override { return {"OLLAMA", "/api/chat", "/api/tags"}; }

  // It knows no credentials, so one that came with a request was meant for somebody else.
  void checkCredentials(const Request& request) const override {
    if (!request.header("Authorization").empty()) throw Refusal("A key was sent to a server that takes none.");
  }

  void writeReply(const Conversation& conversation, const std::string& text, COJson& reply) const override {
    addText(reply, "model", conversation.model);
    addText(reply, "created_at", timeText(std::time(nullptr)));
    COJsonValue* message = reply.addKeyValue("message");
    addText(*message, "role", "assistant");
    addText(*message, "content", text);
    addText(reply, "done_reason", "stop");
    reply.addKeyValue("done")->setBoolValue(true);
    const Usage tokens = usageOf(conversation, text);
    reply.addKeyValue("prompt_eval_count")->setIntValue(tokens.sent);
    reply.addKeyValue("eval_count")->setIntValue(tokens.given);
  }

  void writeListing(const std::vector<ModelDescription>& models, COJson& reply) const override {
    COJsonValue* list = reply.addKeyValue("models");
    list->setAsArray();
    for (const ModelDescription& model : models) {
      COJsonValue* item = list->addArrayItem();
      addText(*item, "name", model.name);
      addText(*item, "modified_at", timeText(model.createdAt));
    }
  }

  void writeRefusal(const Refusal& refusal, COJson& reply) const override { addText(reply, "error", refusal.what()); }

 protected:
  void checkSettings(const COJsonValue& body) const override {
    // Left out, it means true.
    static_cast<void>(requireMember(body, "stream", COJsonValueType::Boolean));
    checkStream(body);
    const COJsonValue* options = findMember(body, "options", COJsonValueType::Object);
    if (options != nullptr) checkTemperature(*options, std::numeric_limits<double>::max());
  }
};

}  // namespace

std::unique_ptr<WireFormat> createOllamaFormat() { return std::make_unique<OllamaFormat>(); }

}  // namespace standin
