// SPDX-License-Identifier: Apache-2.0
// What a property store tells a host about itself.

#include "qx/json.h"
#include "zea_assistant_properties.h"

using namespace zea;

namespace {

constexpr char kOptional[] = "optional";  // what the reader of the document does not insist on
constexpr char kEmpty[] = "";

void addText(COJsonValue* object, const char* key, const char* text) { object->addKeyValue(key)->setStringValue(text); }

void addTexts(COJsonValue* object, const char* key, const char* text) {
  object->addKeyValue(key)->addArrayItem()->setStringValue(text);
}

/// The one object of a list of objects.
COJsonValue* addObjects(COJsonValue* object, const char* key) { return object->addKeyValue(key)->addArrayItem(); }

void describeTable(COJsonValue* table) {
  addText(table, "name", kEmpty);
  COJsonValue* const field = addObjects(table, "fields");
  addText(field, "name", kEmpty);
  addText(field, "type", kEmpty);
  addTexts(table, "pkeys", kOptional);
  COJsonValue* const foreignKey = addObjects(table, "fkeys");
  addTexts(foreignKey, "fields", kEmpty);
  addText(foreignKey, "ref_schema", kOptional);
  addText(foreignKey, "ref_table", kEmpty);
  addTexts(foreignKey, "ref_fields", kEmpty);
}

/// A document of the structure's shape. The items of views and materialized views have the form of tables and are
/// left open.
std::string describeStructure() {
  COJson document;
  COJsonValue* const catalog = document.addArrayItem();
  addText(catalog, "catalog_id", kOptional);
  addText(catalog, "catalog_name", kOptional);
  COJsonValue* const schema = addObjects(catalog, "schemas");
  addText(schema, "schema_id", kOptional);
  addText(schema, "schema_name", kOptional);
  describeTable(addObjects(schema, "tables"));
  schema->addKeyValue("views")->addArrayItem();
  schema->addKeyValue("mviews")->addArrayItem();
  return document.obtainJsonString();
}

}  // namespace

std::vector<std::pair<std::string, std::string>> ZEAAssistantProperties::obtainDescription() const {
  return {{kApiHost, "string"},
          {kApiKey, "string"},
          {kModel, "string"},
          {kUseTemperature, "boolean"},
          {kTemperature, "double"},
          {kUserInstructions, "string"},
          {kSystemInstructions, "CMVariantMap(string, string)"},
          {kStructure, "CMVariant - " + describeStructure()},
          {kCombinedInstructions, "string - read only"}};
}
