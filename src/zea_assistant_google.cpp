// SPDX-License-Identifier: Apache-2.0
// The assistant for GOOGLE, over its generate-content protocol.
#include "zea_assistants.h"

#include "qx/text.h"
#include "zea_json_read.h"
#include "zea_provider_error.h"

using namespace zea;

namespace {

constexpr char kGenerateContent[] = "generateContent";  // the operation, and what a listed model must be able to do
constexpr std::string_view kModelPrefix = "models/";

ZEAPath pathOfModel(const std::string& model) { return {"v1beta", "models", model + ":" + kGenerateContent}; }

bool canGenerateContent(const COJsonValue& model) {
  const COJsonValue* const methods = arrayMember(model, "supportedGenerationMethods");
  bool found = false;
  if (methods != nullptr) {
    forEachItem(*methods, [&found](const COJsonValue& method) { found |= stringIn(&method) == kGenerateContent; });
  }
  return found;
}

void appendParts(std::string& reply, const COJsonValue& candidate) {
  const COJsonValue* const content = objectMember(candidate, "content");
  if (content == nullptr || stringMember(*content, "role") != "model") return;
  const COJsonValue* const parts = arrayMember(*content, "parts");
  if (parts == nullptr) return;
  forEachItem(*parts, [&reply](const COJsonValue& part) {
    if (const auto text = stringMember(part, "text")) reply.append(*text);
  });
}

class Call final : public ZEACall {
 public:
  using ZEACall::ZEACall;

  static constexpr char kDefaultHost[] = "generativelanguage.googleapis.com";

 protected:
  ZEAPath chatPath() const override {
    // Only the failure of an empty model is ever located there.
    if (properties.model.empty()) return {"v1beta", "models", kGenerateContent};
    return pathOfModel(properties.model);
  }
  ZEAPath listingPath() const override { return {"v1beta", "models"}; }
  CMRestParamList query() const override {
    CMRestParamList params;
    params.emplace_back("key", properties.apiKey.obtainText());  // a list in braces would be copied, key and all
    return params;
  }
  std::string providerText(const CMRestResourceResponse& response) const override {
    return obtainErrorMessage(response);
  }

  void writeBody(COJson& body, const ZEAPrompt& prompt) const override {
    if (properties.sendsTemperature()) writeTemperature(*body.addKeyValue("generationConfig"));
    if (!prompt.instructions.empty()) {
      COJsonValue* const parts = body.addKeyValue("system_instruction")->addKeyValue("parts");
      qx::setStringView(*parts->addKeyValue("text"), prompt.instructions);
    }
    COJsonValue* const contents = body.addKeyValue("contents");
    contents->setAsArray();
    writeTurns(*contents, prompt);
  }

  void writeTurn(COJsonValue& item, bool isAssistant, qx::KeptText text) const override {
    item.addKeyValue("role")->setStringValue(isAssistant ? "model" : "user");
    qx::setStringView(*item.addKeyValue("parts")->addArrayItem()->addKeyValue("text"), text);
  }

  std::optional<std::string> readReply(const COJsonValue& body) const override {
    const COJsonValue* const candidates = arrayMember(body, "candidates");
    if (candidates == nullptr) return std::nullopt;
    std::string reply;
    forEachItem(*candidates, [&reply](const COJsonValue& candidate) { appendParts(reply, candidate); });
    return reply;
  }

  std::optional<std::vector<std::string>> readModels(const COJsonValue& body) const override {
    const COJsonValue* const listed = arrayMember(body, "models");
    if (listed == nullptr) return std::nullopt;
    std::vector<std::string> names;
    forEachItem(*listed, [&names](const COJsonValue& model) {
      auto name = stringMember(model, "name");
      if (!name || !canGenerateContent(model)) return;
      if (name->substr(0, kModelPrefix.size()) == kModelPrefix) name->remove_prefix(kModelPrefix.size());
      names.emplace_back(*name);
    });
    return names;
  }
};

class ZEAAssistant_GOOGLE final : public ZEAAssistantWith<Call> {
 public:
  explicit ZEAAssistant_GOOGLE(const ZEAAssistantParts& parts) : ZEAAssistantWith(parts) { adoptKey(parts.apiKey); }

  std::string obtainEndpointURL() const override {
    ZEAPath items = pathOfModel("[model]");  // for the host to fill in
    items.insert(items.begin(), properties->apiHost);
    return qxConcatURL(items);
  }

 protected:
  /// The key travels in the query of each request, read from the store.
  void sendCredentials() override {}
};

}  // namespace

std::unique_ptr<ZEAAssistant> zea::makeAssistant_GOOGLE(const ZEAAssistantParts& parts) {
  return makeAssistant<ZEAAssistant_GOOGLE>(parts);
}
