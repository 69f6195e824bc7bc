// SPDX-License-Identifier: Apache-2.0
#include "structure_model.h"

#include <qx/json.h>

#include <unordered_map>
#include <utility>

#include "zeakit/token_estimate.h"

namespace zeakit {

namespace {

constexpr const char* kKinds[] = {"tables", "views", "mviews"};
constexpr const char* kStatements[] = {"CREATE TABLE ", "CREATE VIEW ", "CREATE MATERIALIZED VIEW "};

bool isString(const COJsonValue* value) { return value != nullptr && value->obtainType() == COJsonValueType::String; }
bool isArray(const COJsonValue* value) { return value != nullptr && value->obtainType() == COJsonValueType::Array; }
bool isAbsentOrString(const COJsonValue* value) { return value == nullptr || isString(value); }
bool isAbsentOrArray(const COJsonValue* value) { return value == nullptr || isArray(value); }

template <class Function>
bool forEachItem(const COJsonValue* array, Function function) {
  const std::size_t size = array != nullptr ? array->obtainArraySize() : 0;
  for (std::size_t index = 0; index < size; ++index) {
    if (!function(*array->obtainArrayItem(index))) return false;
  }
  return true;
}

class Reader {
 public:
  explicit Reader(StructureModel& model) : model_(model) {}

  void readCatalogs(const COJsonValue& root) {
    forEachItem(&root, [&](const COJsonValue& item) {
      if (!readCatalog(item)) ++model_.rejected;
      return true;
    });
    linkForeignKeys();
  }

 private:
  bool readCatalog(const COJsonValue& item) {
    const COJsonValue* const schemas = item.obtainKeyValue("schemas");
    if (!isAbsentOrString(item.obtainKeyValue("catalog_id")) ||
        !isAbsentOrString(item.obtainKeyValue("catalog_name")) || !isArray(schemas)) {
      return false;
    }
    model_.catalogs.push_back(
        {optional(item.obtainKeyValue("catalog_id")), optional(item.obtainKeyValue("catalog_name"))});
    return forEachItem(schemas, [&](const COJsonValue& schema) {
      if (!readSchema(schema)) ++model_.rejected;
      return true;
    });
  }

  bool readSchema(const COJsonValue& item) {
    if (item.obtainType() != COJsonValueType::Object || !isAbsentOrString(item.obtainKeyValue("schema_id")) ||
        !isAbsentOrString(item.obtainKeyValue("schema_name"))) {
      return false;
    }
    for (const char* const kind : kKinds) {
      if (!isAbsentOrArray(item.obtainKeyValue(kind))) return false;
    }
    model_.schemas.push_back({static_cast<std::uint32_t>(model_.catalogs.size() - 1),
                              optional(item.obtainKeyValue("schema_id")),
                              optional(item.obtainKeyValue("schema_name"))});
    for (std::uint8_t kind = 0; kind < 3; ++kind) {
      forEachItem(item.obtainKeyValue(kKinds[kind]), [&](const COJsonValue& object) {
        const std::size_t fieldCount = model_.fields.size();
        ModelRelation relation;
        relation.schema = static_cast<std::uint32_t>(model_.schemas.size() - 1);
        relation.kind = kind;
        relation.firstField = static_cast<std::uint32_t>(fieldCount);
        if (readRelation(object, relation)) {
          relation.fieldCount = static_cast<std::uint32_t>(model_.fields.size() - fieldCount);
          model_.relations.push_back(std::move(relation));
        } else {
          model_.fields.resize(fieldCount);
          ++model_.rejected;
        }
        return true;
      });
    }
    return true;
  }

  bool readRelation(const COJsonValue& object, ModelRelation& relation) {
    const COJsonValue* const name = object.obtainKeyValue("name");
    const COJsonValue* const fields = object.obtainKeyValue("fields");
    const COJsonValue* const primaryKey = object.obtainKeyValue("pkeys");
    const COJsonValue* const foreignKeys = object.obtainKeyValue("fkeys");
    if (!isString(name) || !isArray(fields) || !isAbsentOrArray(primaryKey) || !isAbsentOrArray(foreignKeys)) {
      return false;
    }
    relation.name = keep(*name);
    // Without columns the keys are not looked at.
    if (fields->obtainArraySize() == 0) return true;
    return forEachItem(fields,
                       [&](const COJsonValue& field) {
                         const COJsonValue* const fieldName = field.obtainKeyValue("name");
                         const COJsonValue* const type = field.obtainKeyValue("type");
                         if (!isString(fieldName) || !isString(type)) return false;
                         model_.fields.push_back({keep(*fieldName), typeId(type->obtainStringView())});
                         return true;
                       }) &&
           readNames(primaryKey, relation.primaryKey) &&
           forEachItem(foreignKeys, [&](const COJsonValue& key) { return readForeignKey(key, relation.foreignKeys); });
  }

  bool readForeignKey(const COJsonValue& item, std::vector<ModelForeignKey>& keys) {
    const COJsonValue* const fields = item.obtainKeyValue("fields");
    const COJsonValue* const schema = item.obtainKeyValue("ref_schema");
    const COJsonValue* const table = item.obtainKeyValue("ref_table");
    const COJsonValue* const referenced = item.obtainKeyValue("ref_fields");
    if (!isArray(fields) || !isAbsentOrString(schema) || !isString(table) || !isArray(referenced)) return false;
    if (fields->obtainArraySize() == 0 || referenced->obtainArraySize() == 0) return true;
    ModelForeignKey key;
    if (!readNames(fields, key.fields) || !readNames(referenced, key.referenced)) return false;
    key.schema = optional(schema);
    key.table = keep(*table);
    keys.push_back(std::move(key));
    return true;
  }

  bool readNames(const COJsonValue* array, std::vector<ModelText>& names) {
    return forEachItem(array, [&](const COJsonValue& item) {
      if (!isString(&item)) return false;
      names.push_back(keep(item));
      return true;
    });
  }

  void linkForeignKeys() {
    std::unordered_multimap<std::string_view, std::size_t> byName;
    byName.reserve(model_.relations.size());
    for (std::size_t index = 0; index < model_.relations.size(); ++index) {
      const ModelRelation& relation = model_.relations[index];
      if (relation.kind == 0) byName.emplace(model_.view(relation.name), index);
    }
    for (ModelRelation& relation : model_.relations) {
      for (ModelForeignKey& key : relation.foreignKeys) {
        const std::string_view schema = key.schema ? model_.view(*key.schema) : model_.schemaName(relation);
        const auto [first, end] = byName.equal_range(model_.view(key.table));
        for (auto at = first; at != end; ++at) {
          const ModelRelation& target = model_.relations[at->second];
          const bool isInCatalog = model_.schemas[target.schema].catalog == model_.schemas[relation.schema].catalog;
          if (isInCatalog && model_.schemaName(target) == schema) key.target = static_cast<std::int64_t>(at->second);
        }
      }
    }
  }

  std::optional<ModelText> optional(const COJsonValue* value) {
    return value != nullptr ? std::optional(keep(*value)) : std::nullopt;
  }
  ModelText keep(const COJsonValue& value) { return keep(value.obtainStringView()); }
  ModelText keep(std::string_view text) {
    const ModelText kept{static_cast<std::uint32_t>(model_.texts.size()), static_cast<std::uint32_t>(text.size())};
    model_.texts.append(text);
    return kept;
  }

  std::uint32_t typeId(std::string_view type) {
    // Columns of a kind stand together.
    if (!model_.types.empty() && model_.view(model_.types[lastType_]) == type) return lastType_;
    const auto found = typeIds_.find(std::string(type));
    if (found != typeIds_.end()) return lastType_ = found->second;
    lastType_ = static_cast<std::uint32_t>(model_.types.size());
    model_.types.push_back(keep(type));
    typeIds_.emplace(type, lastType_);
    return lastType_;
  }

  StructureModel& model_;
  std::unordered_map<std::string, std::uint32_t> typeIds_;
  std::uint32_t lastType_ = 0;
};

void addNames(COJsonValue& object, const char* key, const StructureModel& model, const std::vector<ModelText>& names) {
  COJsonValue& array = *object.addKeyValue(key);
  array.setAsArray();
  for (const ModelText name : names) array.addArrayItem()->setStringValue(model.view(name));
}

void addText(COJsonValue& object, const char* key, std::string_view text) {
  object.addKeyValue(key)->setStringValue(text);
}

void addRelation(COJsonValue& object, const StructureModel& model, const RelationPart& part) {
  const ModelRelation& relation = model.relations[part.relation];
  addText(object, "name", model.view(relation.name));
  COJsonValue& fields = *object.addKeyValue("fields");
  fields.setAsArray();
  for (const std::uint32_t index : part.fields) {
    const ModelField& field = model.fields[relation.firstField + index];
    COJsonValue& item = *fields.addArrayItem();
    addText(item, "name", model.view(field.name));
    addText(item, "type", model.typeOf(field));
  }
  if (part.fields.empty()) return;
  addNames(object, "pkeys", model, relation.primaryKey);
  COJsonValue& keys = *object.addKeyValue("fkeys");
  keys.setAsArray();
  for (const std::uint32_t index : part.foreignKeys) {
    const ModelForeignKey& key = relation.foreignKeys[index];
    COJsonValue& item = *keys.addArrayItem();
    addNames(item, "fields", model, key.fields);
    if (key.schema) addText(item, "ref_schema", model.view(*key.schema));
    addText(item, "ref_table", model.view(key.table));
    addNames(item, "ref_fields", model, key.referenced);
  }
}

void appendNames(std::string& text, const StructureModel& model, const std::vector<ModelText>& names) {
  const char* separator = "(`";
  for (const ModelText name : names) {
    text.append(separator).append(model.view(name)).append("`");
    separator = ", `";
  }
  text += ")";
}

}  // namespace

std::string StructureModel::fullName(const ModelRelation& relation) const {
  std::string name(schemaName(relation));
  if (!name.empty()) name += ".";
  return name.append(view(relation.name));
}

RelationPart StructureModel::wholeOf(std::uint32_t relation) const {
  RelationPart part{relation, {}, {}};
  for (std::uint32_t index = 0; index < relations[relation].fieldCount; ++index) part.fields.push_back(index);
  for (std::uint32_t index = 0; index < relations[relation].foreignKeys.size(); ++index) {
    part.foreignKeys.push_back(index);
  }
  return part;
}

std::string StructureModel::statementOf(const RelationPart& part) const {
  const ModelRelation& relation = relations[part.relation];
  std::string text = kStatements[relation.kind];
  const std::string_view schema = schemaName(relation);
  if (!schema.empty()) text.append("`").append(schema).append("`.");
  text.append("`").append(view(relation.name)).append("` (");
  const char* separator = "`";
  for (const std::uint32_t index : part.fields) {
    const ModelField& field = fields[relation.firstField + index];
    text.append(separator).append(view(field.name)).append("` ").append(typeOf(field));
    separator = ", `";
  }
  if (!part.fields.empty()) {
    if (!relation.primaryKey.empty()) {
      text += ", PRIMARY KEY";
      appendNames(text, *this, relation.primaryKey);
    }
    for (const std::uint32_t index : part.foreignKeys) {
      const ModelForeignKey& key = relation.foreignKeys[index];
      text += ", FOREIGN KEY";
      appendNames(text, *this, key.fields);
      text += " REFERENCES ";
      if (key.schema) text.append("`").append(view(*key.schema)).append("`.");
      text.append("`").append(view(key.table)).append("`");
      appendNames(text, *this, key.referenced);
    }
  }
  return text + ")";
}

std::size_t StructureModel::tokensOfCatalog(std::uint32_t catalog) const {
  const auto& name = catalogs[catalog].name;
  return name ? estimateTokens(std::string("USE CATALOG `").append(view(*name)).append("`\n")) : 0;
}

std::size_t StructureModel::tokensOf(const RelationPart& part) const {
  return estimateTokens(statementOf(part) + "\n");
}

std::size_t StructureModel::tokensOfAll() const {
  std::size_t tokens = 0;
  for (std::uint32_t catalog = 0; catalog < catalogs.size(); ++catalog) tokens += tokensOfCatalog(catalog);
  for (std::uint32_t relation = 0; relation < relations.size(); ++relation) tokens += tokensOf(wholeOf(relation));
  return tokens;
}

std::string StructureModel::documentOf(const std::vector<RelationPart>& parts) const {
  COJson document;
  document.setAsArray();
  COJsonValue* catalogSchemas = nullptr;
  COJsonValue* schemaObject = nullptr;
  COJsonValue* objects = nullptr;
  const ModelRelation* last = nullptr;
  for (const RelationPart& part : parts) {
    const ModelRelation& relation = relations[part.relation];
    const ModelSchema& schema = schemas[relation.schema];
    if (last == nullptr || schemas[last->schema].catalog != schema.catalog) {
      COJsonValue& item = *document.addArrayItem();
      const ModelCatalog& catalog = catalogs[schema.catalog];
      if (catalog.id) addText(item, "catalog_id", view(*catalog.id));
      if (catalog.name) addText(item, "catalog_name", view(*catalog.name));
      catalogSchemas = item.addKeyValue("schemas");
    }
    const bool isNewSchema = last == nullptr || last->schema != relation.schema;
    if (isNewSchema) {
      schemaObject = catalogSchemas->addArrayItem();
      if (schema.id) addText(*schemaObject, "schema_id", view(*schema.id));
      if (schema.name) addText(*schemaObject, "schema_name", view(*schema.name));
    }
    if (isNewSchema || last->kind != relation.kind) objects = schemaObject->addKeyValue(kKinds[relation.kind]);
    addRelation(*objects->addArrayItem(), *this, part);
    last = &relation;
  }
  return document.obtainJsonString();
}

std::optional<StructureModel> readStructureModel(std::string document, std::string& error) {
  if (document.size() > 0x7fffffffU) {
    error = "The structure document is larger than 2 GB.";
    return std::nullopt;
  }
  StructureModel model;
  model.texts.reserve(document.size() / 2);
  const COJson json(std::move(document));
  if (!json.getIsValidJson() || json.obtainType() != COJsonValueType::Array) {
    error = "The structure document is no JSON array.";
    return std::nullopt;
  }
  Reader(model).readCatalogs(json);
  model.texts.shrink_to_fit();
  model.fields.shrink_to_fit();
  return model;
}

}  // namespace zeakit
