// SPDX-License-Identifier: Apache-2.0
// A structure document as an index keeps it, and how parts of it are written.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zeakit {

/// A text in the model's store of texts.
struct ModelText {
  std::uint32_t offset = 0;
  std::uint32_t length = 0;
};

struct ModelField {
  ModelText name;
  std::uint32_t type = 0;  // of StructureModel::types
};

struct ModelForeignKey {
  std::vector<ModelText> fields;
  std::optional<ModelText> schema;
  ModelText table;
  std::vector<ModelText> referenced;
  std::int64_t target = -1;  // the relation, where the document has it
};

struct ModelRelation {
  std::uint32_t schema = 0;
  std::uint8_t kind = 0;  // 0 to 2: "tables", "views", "mviews"
  ModelText name;
  std::uint32_t firstField = 0;
  std::uint32_t fieldCount = 0;
  std::vector<ModelText> primaryKey;
  std::vector<ModelForeignKey> foreignKeys;
};

struct ModelSchema {
  std::uint32_t catalog = 0;
  std::optional<ModelText> id, name;
};

struct ModelCatalog {
  std::optional<ModelText> id, name;
};

/// Which columns and foreign keys of a relation are written.
struct RelationPart {
  std::uint32_t relation = 0;
  std::vector<std::uint32_t> fields;       // by their place in the relation, in order
  std::vector<std::uint32_t> foreignKeys;  // likewise
};

/// What the library would render of a document, in document order: elements that it would pass over are left out.
struct StructureModel {
  std::string texts;
  std::vector<ModelCatalog> catalogs;
  std::vector<ModelSchema> schemas;
  std::vector<ModelRelation> relations;
  std::vector<ModelField> fields;
  std::vector<ModelText> types;
  /// Elements that were left out.
  std::size_t rejected = 0;

  std::string_view view(ModelText text) const { return {texts.data() + text.offset, text.length}; }
  std::string_view typeOf(const ModelField& field) const { return view(types[field.type]); }
  std::string_view schemaName(const ModelRelation& relation) const {
    const auto& name = schemas[relation.schema].name;
    return name ? view(*name) : std::string_view();
  }
  /// "schema.table", or the name alone where the schema has none.
  std::string fullName(const ModelRelation& relation) const;

  /// All of a relation.
  RelationPart wholeOf(std::uint32_t relation) const;
  /// The statement that the library writes for the part.
  std::string statementOf(const RelationPart& part) const;
  /// What the line ahead of a catalog's statements takes, 0 when it has none.
  std::size_t tokensOfCatalog(std::uint32_t catalog) const;
  std::size_t tokensOf(const RelationPart& part) const;
  /// What all that the library writes takes.
  std::size_t tokensOfAll() const;
  /// The document of the parts, which are in ascending order of their relations. Catalogs and schemas without any are
  /// not written.
  std::string documentOf(const std::vector<RelationPart>& parts) const;
};

/// Empty, with a sentence, when the text is no JSON array or is larger than 2 GB.
std::optional<StructureModel> readStructureModel(std::string document, std::string& error);

}  // namespace zeakit
