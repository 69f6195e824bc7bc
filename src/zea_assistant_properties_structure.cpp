// SPDX-License-Identifier: Apache-2.0
#include "zea_assistant_properties_structure.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "qx/internal/assertion.h"
#include "qx/internal/json_view.h"
#include "zea_json_read.h"
#include "zea_text_writer.h"

namespace zea {

namespace {

/// Whether an element of the structure document is as it should be; one that isn't is reported to developers.
bool accept(bool isAsItShouldBe) { return isAsItShouldBe || qxAssert(false); }

/// Appends one CREATE statement to a text. For the stack of one function: the operations return false as
/// soon as the description is rejected, and what they have written by then is taken back at the end. Names and types
/// are written as they stand: the text is for a model, and nobody executes it.
class StatementWriter {
 public:
  explicit StatementWriter(ZEATextWriter& out) : out_(out) {}

  void write(std::string_view schemaName, std::string_view kind, const COJsonValue& object) {
    const std::size_t begin = out_.obtainLength();
    if (!accept(writeStatement(schemaName, kind, object))) out_.truncate(begin);
  }

 private:
  bool writeStatement(std::string_view schemaName, std::string_view kind, const COJsonValue& object) {
    const auto name = stringMember(object, "name");
    const COJsonValue* const fields = arrayMember(object, "fields");
    const COJsonValue* const primaryKey = object.obtainKeyValue("pkeys");
    const COJsonValue* const foreignKeys = object.obtainKeyValue("fkeys");
    if (!name || fields == nullptr || !absentOrOfKind(primaryKey, COJsonValueType::Array) ||
        !absentOrOfKind(foreignKeys, COJsonValueType::Array)) {
      return false;
    }
    out_.put("CREATE ", kind, " ");
    if (!schemaName.empty()) out_.put("`", schemaName, "`.");
    out_.put("`", *name, "` (");
    // Without columns there is nothing that a key could refer to.
    if (fields->obtainArraySize() > 0 &&
        !(writeFields(*fields) && writePrimaryKey(primaryKey) && writeForeignKeys(foreignKeys))) {
      return false;
    }
    out_.put(")");
    return true;
  }

  bool writeFields(const COJsonValue& fields) {
    return writeList(fields, [this](std::string_view separator, const COJsonValue& field) {
      const auto name = stringMember(field, "name");
      const auto type = stringMember(field, "type");
      if (!name || !type) return false;
      out_.put(separator, "`", *name, "` ", *type);
      return true;
    });
  }

  bool writePrimaryKey(const COJsonValue* columns) {
    if (columns == nullptr || columns->obtainArraySize() == 0) return true;
    out_.put(", PRIMARY KEY(");
    return writeNames(*columns);
  }

  bool writeForeignKeys(const COJsonValue* keys) {
    const std::size_t size = keys != nullptr ? keys->obtainArraySize() : 0;
    for (std::size_t index = 0; index < size; ++index) {
      if (!writeForeignKey(*keys->obtainArrayItem(index))) return false;
    }
    return true;
  }

  bool writeForeignKey(const COJsonValue& key) {
    const COJsonValue* const fields = arrayMember(key, "fields");
    const COJsonValue* const schema = key.obtainKeyValue("ref_schema");
    const auto table = stringMember(key, "ref_table");
    const COJsonValue* const referenced = arrayMember(key, "ref_fields");
    if (fields == nullptr || !absentOrOfKind(schema, COJsonValueType::String) || !table || referenced == nullptr) {
      return false;
    }
    if (fields->obtainArraySize() == 0 || referenced->obtainArraySize() == 0) return true;  // this key is passed over
    out_.put(", FOREIGN KEY(");
    if (!writeNames(*fields)) return false;
    out_.put(" REFERENCES ");
    if (schema != nullptr) out_.put("`", schema->obtainStringView(), "`.");
    out_.put("`", *table, "`(");
    return writeNames(*referenced);
  }

  /// Names with ", " between them, and the closing parenthesis.
  bool writeNames(const COJsonValue& names) {
    const bool whole = writeList(names, [this](std::string_view separator, const COJsonValue& item) {
      const auto name = stringIn(&item);
      if (name) out_.put(separator, "`", *name, "`");
      return name.has_value();
    });
    out_.put(")");
    return whole;
  }

  template <class WriteItem>
  bool writeList(const COJsonValue& list, WriteItem writeItem) {
    const std::size_t size = list.obtainArraySize();
    for (std::size_t index = 0; index < size; ++index) {
      if (!writeItem(index > 0 ? ", " : "", *list.obtainArrayItem(index))) return false;
    }
    return true;
  }

  ZEATextWriter& out_;
};

struct Catalog {
  const COJsonValue* id;
  const COJsonValue* name;
  const COJsonValue* schemas;

  bool isNameless() const { return name == nullptr || name->obtainStringView().empty(); }
  std::string statement() const { return std::string("USE CATALOG `").append(name->obtainStringView()).append("`"); }
};

struct Schema {
  const COJsonValue* id;
  const COJsonValue* name;
  const COJsonValue* tables;
  const COJsonValue* views;
  const COJsonValue* materializedViews;
};

/// The catalogs that are as they should be: first those without a name, in reverse order, then the others.
std::vector<Catalog> readCatalogs(const COJson& document) {
  std::vector<Catalog> named;
  std::vector<Catalog> ordered;
  if (!accept(document.getIsValidJson() && document.obtainType() == COJsonValueType::Array)) return ordered;
  forEachItem(document, [&](const COJsonValue& item) {
    const Catalog catalog{item.obtainKeyValue("catalog_id"), item.obtainKeyValue("catalog_name"),
                          arrayMember(item, "schemas")};
    if (accept(absentOrOfKind(catalog.id, COJsonValueType::String) &&
               absentOrOfKind(catalog.name, COJsonValueType::String) && catalog.schemas != nullptr)) {
      (catalog.isNameless() ? ordered : named).push_back(catalog);
    }
  });
  std::reverse(ordered.begin(), ordered.end());
  ordered.insert(ordered.end(), named.begin(), named.end());
  return ordered;
}

/// Calls `function` with each schema of the catalog that is as it should be.
template <class Function>
void forEachSchema(const Catalog& catalog, Function function) {
  forEachItem(*catalog.schemas, [&](const COJsonValue& item) {
    const Schema schema{item.obtainKeyValue("schema_id"), item.obtainKeyValue("schema_name"),
                        item.obtainKeyValue("tables"), item.obtainKeyValue("views"), item.obtainKeyValue("mviews")};
    if (accept(item.obtainType() == COJsonValueType::Object && absentOrOfKind(schema.id, COJsonValueType::String) &&
               absentOrOfKind(schema.name, COJsonValueType::String) &&
               absentOrOfKind(schema.tables, COJsonValueType::Array) &&
               absentOrOfKind(schema.views, COJsonValueType::Array) &&
               absentOrOfKind(schema.materializedViews, COJsonValueType::Array))) {
      function(schema);
    }
  });
}

/// Calls `function` with the kind and the description of each object of the schema: tables, views, materialized views.
template <class Function>
void forEachObject(const Schema& schema, Function function) {
  const auto each = [&](const COJsonValue* objects, std::string_view kind) {
    if (objects != nullptr) forEachItem(*objects, [&](const COJsonValue& object) { function(kind, object); });
  };
  each(schema.tables, "TABLE");
  each(schema.views, "VIEW");
  each(schema.materializedViews, "MATERIALIZED VIEW");
}

std::string_view qualifierOf(const Schema& schema) {
  return schema.name != nullptr ? schema.name->obtainStringView() : std::string_view();
}

void copyText(CMVariantMap& map, const char* key, const COJsonValue* text) {
  if (text != nullptr) map.emplace(key, text->obtainStringValue());
}

CMVariantMap renderSchema(const Schema& schema) {
  CMVariantList statements;
  forEachObject(schema, [&](std::string_view kind, const COJsonValue& object) {
    std::string statement;
    ZEATextWriter out(statement);
    StatementWriter(out).write(qualifierOf(schema), kind, object);
    out.flush();
    statements.emplace_back(std::move(statement));
  });
  CMVariantMap map;
  map.emplace("instructions", std::move(statements));
  copyText(map, "schema_id", schema.id);
  copyText(map, "schema_name", schema.name);
  return map;
}

CMVariantMap renderCatalog(const Catalog& catalog) {
  CMVariantList instructions;
  if (catalog.name != nullptr) instructions.emplace_back(catalog.statement());
  CMVariantList schemas;
  forEachSchema(catalog, [&](const Schema& schema) { schemas.emplace_back(renderSchema(schema)); });
  CMVariantMap map;
  map.emplace("instructions", std::move(instructions));
  copyText(map, "catalog_id", catalog.id);
  copyText(map, "catalog_name", catalog.name);
  map.emplace("schemas", std::move(schemas));
  return map;
}

}  // namespace

CMVariantList renderStructure(const std::string& documentText) {
  CMVariantList catalogs;
  if (documentText.empty()) return catalogs;
  const COJson document = qx::parseJsonView(documentText);
  for (const Catalog& catalog : readCatalogs(document)) catalogs.emplace_back(renderCatalog(catalog));
  return catalogs;
}

// Straight into the text: the prompt is made for every message, and lists of statements in between cost more than the
// rendering itself.
void writeInstructionLines(std::string& text, const std::string& documentText) {
  if (documentText.empty()) return;
  ZEATextWriter out(text);
  const COJson document = qx::parseJsonView(documentText);
  for (const Catalog& catalog : readCatalogs(document)) {
    if (catalog.name != nullptr) out.put(catalog.statement(), "\n");
    forEachSchema(catalog, [&](const Schema& schema) {
      forEachObject(schema, [&](std::string_view kind, const COJsonValue& object) {
        StatementWriter(out).write(qualifierOf(schema), kind, object);
        out.put("\n");  // a rejected description leaves an empty line
      });
    });
  }
  out.flush();
}

}  // namespace zea
