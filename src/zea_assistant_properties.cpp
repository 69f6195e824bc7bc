// SPDX-License-Identifier: Apache-2.0
#include "zea_assistant_properties.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "qx/internal/assertion.h"
#include "qx/internal/json_view.h"
#include "qx/text.h"
#include "zea_assistant_properties_structure.h"

using namespace zea;

namespace {

bool beginsWith(std::string_view text, std::string_view lowerCaseStart) {
  const auto isSame = [](char wanted, char given) {
    return wanted == (given >= 'A' && given <= 'Z' ? static_cast<char>(given - 'A' + 'a') : given);
  };
  return text.size() >= lowerCaseStart.size() &&
         std::equal(lowerCaseStart.begin(), lowerCaseStart.end(), text.begin(), isSame);
}

/// What "^https?://" finds, without regard to case. Making a std::regex would write to the locale's facets, which the
/// threads of the process share.
bool hasScheme(std::string_view host) { return beginsWith(host, "http://") || beginsWith(host, "https://"); }

bool assignText(std::string& field, const CMVariant& value) {
  if (!qxAssert(value.getValueType() == CMVariant::ValueType::String)) return false;
  field = *value.stringIfAny();
  return true;
}

bool assignSecret(QXSecret& field, const CMVariant& value) {
  if (!qxAssert(value.getValueType() == CMVariant::ValueType::String)) return false;
  field = QXSecret(*value.stringIfAny());
  return true;
}

}  // namespace

CMVariant ZEAAssistantProperties::obtainValue(const std::string& key) const {
  if (key == kApiHost) return apiHost;
  if (key == kApiKey) return apiKey.obtainText();
  if (key == kModel) return model;
  if (key == kUseTemperature) return useTemperature ? 1 : 0;
  if (key == kTemperature) return temperature;
  if (key == kUserInstructions) return userInstructions;
  if (key == kSystemInstructions) return systemInstructions;
  if (key == kStructure) return obtainDatabaseStructure();
  if (key == kCombinedInstructions) return obtainCombinedInstructions();
  return {};
}

bool ZEAAssistantProperties::setValue(const std::string& key, const CMVariant& value) {
  const bool accepted = assign(key, value);
  if (accepted) assignedKeys.insert(key);
  return accepted;
}

bool ZEAAssistantProperties::assign(const std::string& key, const CMVariant& value) {
  if (key == kApiHost) return assignHost(value);
  if (key == kApiKey) return assignSecret(apiKey, value);
  if (key == kModel) return assignText(model, value);
  if (key == kUseTemperature) return assignUseTemperature(value);
  if (key == kTemperature) return assignTemperature(value);
  if (key == kUserInstructions) return assignText(userInstructions, value);
  if (key == kSystemInstructions) return mergeSystemInstructions(value);
  if (key == kStructure) return assignStructure(value);
  if (key == kCombinedInstructions) return qxAssert(false);  // read only
  return false;
}

bool ZEAAssistantProperties::assignHost(const CMVariant& value) {
  std::string host;
  if (!assignText(host, value)) return false;
  normalizeHost(qxTrimAsString(host), {}, secureByDefault);
  return true;
}

bool ZEAAssistantProperties::assignUseTemperature(const CMVariant& value) {
  if (!qxAssert(value.getValueType() == CMVariant::ValueType::Int)) return false;
  useTemperature = value.intValue() != 0;
  return true;
}

bool ZEAAssistantProperties::assignTemperature(const CMVariant& value) {
  if (!qxAssert(value.getValueType() == CMVariant::ValueType::Double)) return false;
  temperature = value.doubleValue();
  return true;
}

bool ZEAAssistantProperties::mergeSystemInstructions(const CMVariant& value) {
  if (!qxAssert(value.getValueType() == CMVariant::ValueType::Map)) return false;
  for (const auto& kv : *value.mapIfAny()) {
    if (!qxAssert(kv.second.getValueType() == CMVariant::ValueType::String)) continue;
    if (kv.second.stringIfAny()->empty()) {
      systemInstructions.erase(kv.first);
    } else {
      systemInstructions.insert_or_assign(kv.first, kv.second);
    }
  }
  return true;
}

bool ZEAAssistantProperties::assignStructure(const CMVariant& value) {
  if (!qxAssert(memory != nullptr)) return false;
  if (value.getValueType() == CMVariant::ValueType::List) {
    const std::unique_ptr<COJson> json(qxCreateCOJsonFromCMVariant(value));
    memory->setStructureDocument(json->obtainJsonString());
  } else if (const std::string* const text = value.stringIfAny()) {
    if (text->empty()) return false;
    const COJson json = qx::parseJsonView(*text);
    if (!qxAssert(json.getIsValidJson())) return false;
    memory->setStructureDocument(*text);
  }
  return true;
}

void ZEAAssistantProperties::normalizeHost(const std::string& hostText, const std::string& defaultHost, bool secure) {
  std::string candidate = qxTrimAsString(hostText);
  if (candidate.empty()) candidate = defaultHost;
  if (!hasScheme(candidate)) candidate.insert(0, secure ? "https://" : "http://");
  apiHost = std::move(candidate);
}

bool ZEAAssistantProperties::sendsTemperature() const {
  return useTemperature && isAssigned(kUseTemperature) && isAssigned(kTemperature);
}

RememberedText ZEAAssistantProperties::readDocument() const {
  if (!qxAssert(memory != nullptr)) return RememberedText(std::string());
  return readStructureDocument(*memory);
}

CMVariantList ZEAAssistantProperties::obtainDatabaseStructure() const {
  const RememberedText document = readDocument();
  return renderStructure(document.obtain());
}

std::string ZEAAssistantProperties::obtainSchemaInstructions() const {
  const RememberedText document = readDocument();
  std::string lines;
  writeInstructionLines(lines, document.obtain());
  return lines;
}

std::string ZEAAssistantProperties::obtainCombinedInstructions() const { return combineInstructions(readDocument()); }

// The document ends here, before the body is made of what it became.
std::string ZEAAssistantProperties::combineInstructions(RememberedText document) const {  // NOLINT
  std::string text;
  // Made once, since prompts are long: statements are shorter than half of their document.
  text.reserve(userInstructions.size() + document.obtain().size() / 2);
  if (!userInstructions.empty()) text.append(userInstructions).append("\n\n");
  for (const auto& kv : systemInstructions) text.append(*kv.second.stringIfAny()).append("\n");
  const std::size_t begin = text.size();
  writeInstructionLines(text, document.obtain());
  if (text.size() > begin) text.append("\n");
  return text;
}
