// SPDX-License-Identifier: Apache-2.0
// The assistant for ANTHROPIC, over its Messages protocol, and its property store.
#include "zea_assistants.h"

#include <algorithm>
#include <limits>

#include "qx/app_factory.h"
#include "qx/date_time.h"
#include "qx/defer.h"
#include "qx/internal/assertion.h"
#include "zea_json_read.h"

using namespace zea;

namespace {

/// What goes out as "max_tokens" as long as nobody has assigned another number.
constexpr std::int32_t kDefaultMaxTokens = 1024;
constexpr char kMaxTokens[] = "max_tokens";  // the property's key and the request's member
constexpr char kDateFormat[] = "%Y-%m-%dT%H:%M:%SZ";

/// A date as the number that listings are sorted by, clamped to 32 bits; one that can't be read comes last.
std::int32_t sortKeyOf(const ICSDateTimeConverter& converter, std::string_view date) {
  const std::unique_ptr<CODateTime> parsed(CODateTime::dateTimeFromString(std::string(date), kDateFormat));
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(converter.toEpochSeconds(*parsed, 0),
                                                            std::numeric_limits<std::int32_t>::min(),
                                                            std::numeric_limits<std::int32_t>::max()));
}

class Call final : public ZEACall {
 public:
  using ZEACall::ZEACall;

  static constexpr char kDefaultHost[] = "api.anthropic.com";

 protected:
  ZEAPath chatPath() const override { return {"v1", "messages"}; }
  ZEAPath listingPath() const override { return {"v1", "models"}; }

  void writeBody(COJson& body, const ZEAPrompt& prompt) const override {
    body.addKeyValue("model")->setStringValue(properties.model);
    writeTemperature(body);
    const bool isAssigned = properties.isAssigned(kMaxTokens);
    body.addKeyValue(kMaxTokens)
        ->setIntValue(isAssigned ? properties.obtainValue(kMaxTokens).intValue() : kDefaultMaxTokens);
    if (!prompt.instructions.empty()) qx::setStringView(*body.addKeyValue("system"), prompt.instructions);
    COJsonValue* const messages = body.addKeyValue("messages");
    messages->setAsArray();
    writeTurns(*messages, prompt);
  }

  /// The text of all blocks whose type is "text".
  std::optional<std::string> readReply(const COJsonValue& body) const override {
    const COJsonValue* const content = arrayMember(body, "content");
    if (content == nullptr) return std::nullopt;
    std::string reply;
    forEachItem(*content, [&reply](const COJsonValue& block) {
      const auto text = stringMember(block, "text");
      if (text && stringMember(block, "type") == "text") reply.append(*text);
    });
    return reply;
  }

  std::optional<std::string> checkListing(const ZEAAnswer& answer) const override { return bodyFirst(answer); }

  std::optional<std::vector<std::string>> readModels(const COJsonValue& body) const override {
    const COJsonValue* const data = arrayMember(body, "data");
    if (data == nullptr) return std::nullopt;
    ICSDateTimeConverter* const converter = QX::obtainAppFactory()->obtainDateTimeService()->createDateTimeConverter();
    const CODefer freeConverter([converter] { delete converter; });
    std::vector<DatedModel> models;
    forEachItem(*data, [&](const COJsonValue& model) {
      const auto name = stringMember(model, "id");
      const auto date = stringMember(model, "created_at");
      if (name && date && stringMember(model, "type") == "model") {
        models.push_back({sortKeyOf(*converter, *date), std::string(*name)});
      }
    });
    return newestFirst(std::move(models));
  }
};

/// The plain store and one key more: "max_tokens", the longest reply in tokens, which goes out with every request.
class ZEAAssistantProperties_ANTHROPIC final : public ZEAAssistantProperties {
 public:
  /// Its memory is null until the assistant sets it.
  ZEAAssistantProperties_ANTHROPIC() : ZEAAssistantProperties(nullptr) {}

  std::vector<std::pair<std::string, std::string>> obtainDescription() const override {
    auto description = ZEAAssistantProperties::obtainDescription();
    description.emplace_back(kMaxTokens, "integer");
    return description;
  }

  CMVariant obtainValue(const std::string& key) const override {
    if (key == kMaxTokens) return maxTokens;
    return ZEAAssistantProperties::obtainValue(key);
  }

  bool setValue(const std::string& key, const CMVariant& value) override {
    if (key != kMaxTokens) return ZEAAssistantProperties::setValue(key, value);
    // Without a guard: whatever number a value of another kind has is taken.
    static_cast<void>(qxAssert(value.getValueType() == CMVariant::ValueType::Int));
    maxTokens = value.intValue();
    assignedKeys.insert(key);
    return true;
  }

  std::int32_t maxTokens = kDefaultMaxTokens;
};

class ZEAAssistant_ANTHROPIC final : public ZEAAssistantWith<Call> {
 public:
  explicit ZEAAssistant_ANTHROPIC(const ZEAAssistantParts& parts)
      : ZEAAssistantWith(parts, std::make_unique<ZEAAssistantProperties_ANTHROPIC>()) {
    adoptKey(parts.apiKey);
    session->addHeaderParam("anthropic-version", "2023-06-01");
  }

 protected:
  double limitTemperature(double temperature) const override { return temperature > 1.0 ? 1.0 : temperature; }
  void sendCredentials() override { session->addHeaderParam("x-api-key", properties->apiKey.obtainText()); }
};

}  // namespace

std::unique_ptr<ZEAAssistant> zea::makeAssistant_ANTHROPIC(const ZEAAssistantParts& parts) {
  return makeAssistant<ZEAAssistant_ANTHROPIC>(parts);
}
