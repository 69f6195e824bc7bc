// SPDX-License-Identifier: Apache-2.0
// GOOGLE's generate-content format.
#include "standin/format_parts.h"
#include "standin/formats.h"

namespace standin {

namespace {

constexpr std::string_view kModels = "/v1beta/models";
constexpr std::string_view kGenerate = ":generateContent";

const char* statusTextOf(Fault fault) {
  if (fault == Fault::NotFound) return "NOT_FOUND";
  return fault == Fault::NoCredentials ? "PERMISSION_DENIED" : "INVALID_ARGUMENT";
}

// The model in "/v1beta/models/MODEL:generateContent"; empty for another path.
std::string modelIn(std::string_view path) {
  if (!path.starts_with(kModels) || !path.ends_with(kGenerate)) return {};
  path.remove_prefix(kModels.size());
  path.remove_suffix(kGenerate.size());
  if (!path.starts_with('/') || path.find('/', 1) != std::string_view::npos) return {};
  return std::string(path.substr(1));
}

bool hasKey(std::string_view target) {
  for (std::size_t at = target.find('?'); at != std::string_view::npos; at = target.find('&', at)) {
    const std::string_view parameter = target.substr(++at);
    if (parameter.starts_with("key=") && parameter.size() > 4 && parameter[4] != '&') return true;
  }
  return false;
}

// The "parts" of a turn or of the system prompt: an array, or one part alone.
std::string readParts(const COJsonValue& content) {
  const COJsonValue* parts = content.obtainKeyValue("parts");
  if (parts != nullptr && parts->obtainType() == COJsonValueType::Object) return requireText(*parts, "text");
  const COJsonValue& array = requireMember(content, "parts", COJsonValueType::Array);
  std::string text;
  for (std::size_t index = 0; index < array.obtainArraySize(); ++index) {
    text += requireText(*array.obtainArrayItem(index), "text");
  }
  return text;
}

class GoogleFormat final : public WireFormat {
 public:
  Endpoints endpoints() const override { return {"GOOGLE", "/v1beta/models/MODEL:generateContent", kModels}; }

  void checkCredentials(const Request& request) const override {
    if (!hasKey(request.target)) throw Refusal("The request has no API key.", Fault::NoCredentials);
  }

  int statusOf(Fault fault) const override { return fault == Fault::NoCredentials ? 403 : WireFormat::statusOf(fault); }

  void writeReply(const Conversation& conversation, const std::string& text, COJson& reply) const override {
    COJsonValue* candidate = reply.addKeyValue("candidates")->addArrayItem();
    COJsonValue* content = candidate->addKeyValue("content");
    addText(*content->addKeyValue("parts")->addArrayItem(), "text", text);
    addText(*content, "role", "model");
    addText(*candidate, "finishReason", "STOP");
    const Usage tokens = usageOf(conversation, text);
    COJsonValue* usage = reply.addKeyValue("usageMetadata");
    usage->addKeyValue("promptTokenCount")->setIntValue(tokens.sent);
    usage->addKeyValue("candidatesTokenCount")->setIntValue(tokens.given);
    usage->addKeyValue("totalTokenCount")->setIntValue(tokens.sent + tokens.given);
    addText(reply, "modelVersion", conversation.model);
  }

  void writeListing(const std::vector<ModelDescription>& models, COJson& reply) const override {
    COJsonValue* list = reply.addKeyValue("models");
    list->setAsArray();
    for (const ModelDescription& model : models) {
      COJsonValue* item = list->addArrayItem();
      addText(*item, "name", "models/" + model.name);
      addText(*item, "displayName", model.name);
      item->addKeyValue("supportedGenerationMethods")->addArrayItem()->setStringValue("generateContent");
    }
  }

  void writeRefusal(const Refusal& refusal, COJson& reply) const override {
    COJsonValue* error = reply.addKeyValue("error");
    error->addKeyValue("code")->setIntValue(statusOf(refusal.fault()));
    addText(*error, "message", refusal.what());
    addText(*error, "status", statusTextOf(refusal.fault()));
  }

 protected:
  bool isChatPath(const std::string& path) const override { return !modelIn(path).empty(); }

  std::string readModel(const Request& request, const COJsonValue&) const override { return modelIn(pathOf(request)); }

  void checkSettings(const COJsonValue& body) const override {
    const COJsonValue* config = findMember(body, "generationConfig", COJsonValueType::Object);
    if (config == nullptr) return;
    checkTemperature(*config, 2.0);
    checkTokenLimit(*config, "maxOutputTokens");
  }

  // Both spellings are the provider's.
  std::string readSystem(const COJsonValue& body) const override {
    for (const char* key : {"system_instruction", "systemInstruction"}) {
      const COJsonValue* instruction = findMember(body, key, COJsonValueType::Object);
      if (instruction != nullptr) return readParts(*instruction);
    }
    return {};
  }

  std::string_view turnsMember() const override { return "contents"; }

  std::string readText(const COJsonValue& turn) const override { return readParts(turn); }

  bool isInstruction(std::string_view) const override { return false; }

  bool isTurn(std::string_view role) const override { return role == "user" || role == "model"; }
};

}  // namespace

std::unique_ptr<WireFormat> createGoogleFormat() { return std::make_unique<GoogleFormat>(); }

}  // namespace standin
