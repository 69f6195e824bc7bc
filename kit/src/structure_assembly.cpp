// SPDX-License-Identifier: Apache-2.0
#include "structure_assembly.h"

#include <qx/json.h>

#include <algorithm>
#include <set>
#include <string_view>

#include "name_mentions.h"
#include "name_pattern.h"
#include "utf8_text.h"

namespace zeakit {

namespace {

using Instructions = std::vector<std::pair<std::string, std::string>>;

std::string displayName(const Name& name) {
  return name.first.empty() ? "`" + name.second + "`" : "`" + name.first + "`.`" + name.second + "`";
}

/// Rows that are joined, and what of them is told.
class Assembly {
 public:
  explicit Assembly(const CatalogRows& rows)
      : dialect_(rows.dialect),
        options_(rows.options),
        relations_(rows.relations),
        columns_(rows.columns),
        viewTexts_(rows.viewTexts),
        primaryKeys_(rows.primaryKeys),
        uniqueKeys_(rows.uniqueKeys),
        foreignKeys_(rows.foreignKeys),
        checks_(rows.checks) {
    joinConstraints(rows.plainKeys, rows.constraints, rows.references, rows.looseChecks);
    for (const auto& [name, relation] : relations_) byLowerName_.emplace(lowerName(name), name);
    collectHiddenWords();
  }

  BuiltStructure build() {
    BuiltStructure built;
    noteLooseRows(built.notes);
    COJson holder;  // the root is a list, which a member can be, but not a new document
    COJsonValue* const catalogs = holder.addKeyValue("catalogs");
    COJsonValue* const schemas = catalogs->addArrayItem()->addKeyValue("schemas");
    schemas->setAsArray();
    std::map<std::string, std::vector<Name>> bySchema;
    for (const auto& [name, relation] : relations_) {
      if (isTold(name)) bySchema[name.first].push_back(name);
    }
    for (auto& [schema, names] : bySchema) {
      std::stable_sort(names.begin(), names.end(), [this](const Name& one, const Name& other) {
        return relations_.at(one).position < relations_.at(other).position;
      });
      COJsonValue* const item = schemas->addArrayItem();
      if (!schema.empty()) item->addKeyValue("schema_name")->setStringValue(repairUtf8(schema));
      for (const auto& [member, kind] : {std::pair("tables", 0), std::pair("views", 1), std::pair("mviews", 2)}) {
        COJsonValue* const list = item->addKeyValue(member);
        list->setAsArray();
        for (const Name& name : names) {
          if (listOf(name) == kind) writeRelation(name, *list->addArrayItem());
        }
      }
    }
    built.document = catalogs->obtainJsonString();
    built.instructions = instructions(bySchema);
    return built;
  }

 private:
  static Name lowerName(const Name& name) { return {lowerCase(name.first), lowerCase(name.second)}; }

  /// What the standard's catalog tells in pieces: names of constraints are unique in a schema there.
  void joinConstraints(const std::map<Name, Keys>& plainKeys,
                       const std::map<Name, std::map<std::string, std::string>>& constraints,
                       const std::map<Name, Name>& references, const std::map<Name, std::string>& looseChecks) {
    std::map<Name, std::pair<Name, const Key*>> owners;  // relation and columns by schema and constraint
    for (const auto& [name, keys] : plainKeys) {
      for (const auto& [constraint, key] : keys) owners.emplace(Name(name.first, constraint), std::pair(name, &key));
    }
    for (const auto& [name, types] : constraints) {
      for (const auto& [constraint, type] : types) {
        const auto keys = plainKeys.find(name);
        const auto check = looseChecks.find({name.first, constraint});
        if (type == "CHECK" && check != looseChecks.end()) checks_[name].emplace(constraint, check->second);
        if (keys == plainKeys.end() || keys->second.count(constraint) == 0) continue;
        Key key = keys->second.at(constraint);
        if (type == "PRIMARY KEY") primaryKeys_[name].emplace(constraint, key);
        if (type == "UNIQUE") uniqueKeys_[name].emplace(constraint, key);
        const auto reference = references.find({name.first, constraint});
        if (type != "FOREIGN KEY" || reference == references.end()) continue;
        const auto target = owners.find(reference->second);
        if (target == owners.end()) continue;
        key.target = target->second.first;
        const auto& targetColumns = target->second.second->columns;
        for (auto& [position, column] : key.columns) {
          const auto found =
              targetColumns.find(column.referencedPosition != kNoPosition ? column.referencedPosition : position);
          if (found != targetColumns.end()) column.referenced = found->second.name;
        }
        foreignKeys_[name].emplace(constraint, std::move(key));
      }
    }
  }

  /// MariaDB lists them among its tables.
  bool isSequence(const Name& name) const {
    const auto found = relations_.find(name);
    return found != relations_.end() && found->second.kind == "SEQUENCE";
  }

  bool isTold(const Name& name) const {
    if (isSequence(name)) return false;
    const std::string whole = name.first + "." + name.second;
    const auto matches = [&](const std::vector<std::string>& patterns) {
      return matchesAny(patterns, name.second) || matchesAny(patterns, whole);
    };
    const auto isIn = [&](const std::vector<std::string>& patterns) { return patterns.empty() || matches(patterns); };
    return (options_.includedSchemas.empty() || matchesAny(options_.includedSchemas, name.first)) &&
           !matchesAny(options_.excludedSchemas, name.first) && isIn(options_.includedTables) &&
           !matches(options_.excludedTables);
  }

  bool isTold(const Name& relation, const std::string& column) const {
    const std::string whole = relation.second + "." + column;
    const auto matches = [&](const std::vector<std::string>& patterns) {
      return matchesAny(patterns, column) || matchesAny(patterns, whole);
    };
    return (options_.includedColumns.empty() || matches(options_.includedColumns)) &&
           !matches(options_.excludedColumns);
  }

  void collectHiddenWords() {
    for (const auto& [name, relation] : relations_) {
      if (!isTold(name) && !isSequence(name)) hidden_.add(name.second);
    }
    for (const auto& [name, columns] : columns_) {
      for (const auto& [column, description] : columns) {
        if (isTold(name) && !isTold(name, column)) hidden_.add(column);
      }
    }
  }

  /// Whether the text may show: words of anything excluded keep it back.
  bool canShow(const std::string& text) const { return !hidden_.areIn(text); }

  int listOf(const Name& name) const {
    const std::string kind = lowerCase(relations_.at(name).kind);
    if (kind.find("materialized") != std::string::npos) return 2;
    return kind.find("view") != std::string::npos ? 1 : 0;
  }

  const std::map<long long, KeyColumn>* primaryKeyOf(const Name& name) const {
    auto found = primaryKeys_.find(name);
    if (found == primaryKeys_.end()) {
      const auto other = byLowerName_.find(lowerName(name));
      if (other != byLowerName_.end()) found = primaryKeys_.find(other->second);
    }
    return found != primaryKeys_.end() ? &found->second.begin()->second.columns : nullptr;
  }

  bool areTold(const Name& name, const std::map<long long, KeyColumn>& key) const {
    return std::all_of(key.begin(), key.end(), [&](const auto& item) { return isTold(name, item.second.name); });
  }

  void writeRelation(const Name& name, COJsonValue& item) const {
    item.addKeyValue("name")->setStringValue(repairUtf8(name.second));
    writeFields(name, *item.addKeyValue("fields"));
    COJsonValue* const primary = item.addKeyValue("pkeys");
    primary->setAsArray();
    const auto primaryKey = primaryKeys_.find(name);
    if (primaryKey != primaryKeys_.end()) {
      const auto& key = primaryKey->second.begin()->second.columns;
      if (areTold(name, key)) {
        for (const auto& [position, column] : key) primary->addArrayItem()->setStringValue(repairUtf8(column.name));
      }
    }
    COJsonValue* const list = item.addKeyValue("fkeys");
    list->setAsArray();
    const auto keys = foreignKeys_.find(name);
    if (keys == foreignKeys_.end()) return;
    for (const auto& [constraint, key] : keys->second) writeForeignKey(name, key, *list);
  }

  void writeForeignKey(const Name& name, const Key& key, COJsonValue& list) const {
    const auto other = byLowerName_.find(lowerName(key.target));
    const Name& target = relations_.count(key.target) == 0 && other != byLowerName_.end() ? other->second : key.target;
    std::vector<std::string> referenced;
    for (const auto& [position, column] : key.columns) {
      if (!column.referenced.empty()) referenced.push_back(column.referenced);
    }
    const auto* const primary = primaryKeyOf(target);
    if (referenced.empty() && primary != nullptr) {
      for (const auto& [position, column] : *primary) referenced.push_back(column.name);
    }
    if (!isTold(target) || !areTold(name, key.columns) ||
        !std::all_of(referenced.begin(), referenced.end(),
                     [&](const std::string& column) { return isTold(target, column); })) {
      return;
    }
    COJsonValue* const item = list.addArrayItem();
    COJsonValue* const fields = item->addKeyValue("fields");
    fields->setAsArray();
    for (const auto& [position, column] : key.columns) {
      fields->addArrayItem()->setStringValue(repairUtf8(column.name));
    }
    if (!key.target.first.empty()) item->addKeyValue("ref_schema")->setStringValue(repairUtf8(key.target.first));
    item->addKeyValue("ref_table")->setStringValue(repairUtf8(key.target.second));
    COJsonValue* const columns = item->addKeyValue("ref_fields");
    columns->setAsArray();
    for (const std::string& column : referenced) columns->addArrayItem()->setStringValue(repairUtf8(column));
  }

  void writeFields(const Name& name, COJsonValue& list) const {
    list.setAsArray();
    const auto found = columns_.find(name);
    if (found == columns_.end()) return;
    std::vector<const Column*> told;
    for (const auto& [columnName, column] : found->second) {
      if (isTold(name, columnName)) told.push_back(&column);
    }
    std::stable_sort(told.begin(), told.end(),
                     [](const Column* one, const Column* other) { return one->position < other->position; });
    std::set<std::string> unique;
    const std::string constraints = tableConstraints(name, unique);
    for (const Column* const column : told) {
      COJsonValue* const field = list.addArrayItem();
      field->addKeyValue("name")->setStringValue(repairUtf8(column->name));
      std::string type = typeOf(*column, unique.count(column->name) > 0);
      if (column == told.back()) type += constraints;
      field->addKeyValue("type")->setStringValue(repairUtf8(type));
    }
  }

  std::string typeOf(const Column& column, bool isUnique) const {
    std::string type = column.type;
    if (options_.hasNotNull && !column.isNullable) type += " NOT NULL";
    if (options_.hasDefaults && column.defaultValue && canShow(*column.defaultValue)) {
      type += " DEFAULT " + *column.defaultValue;
    }
    if (options_.hasGenerated && column.generated) {
      type += " GENERATED ALWAYS";
      if (!column.generated->empty() && canShow(*column.generated)) type += " AS (" + *column.generated + ")";
    }
    if (isUnique) type += " UNIQUE";
    if (options_.hasEnumValues && column.enumValues && !column.enumValues->empty()) {
      type += " /* one of " + commentText(*column.enumValues) + " */";
    }
    if (options_.hasColumnComments && column.comment && !column.comment->empty()) {
      type += " /* " + commentText(*column.comment) + " */";
    }
    return type;
  }

  /// What follows the last column; the columns that are unique by themselves go into `unique`.
  std::string tableConstraints(const Name& name, std::set<std::string>& unique) const {
    std::string text;
    const auto keys = uniqueKeys_.find(name);
    if (options_.hasUnique && keys != uniqueKeys_.end()) {
      for (const auto& [constraint, key] : keys->second) {
        if (!areTold(name, key.columns)) continue;
        if (key.columns.size() == 1) {
          unique.insert(key.columns.begin()->second.name);
          continue;
        }
        const char* separator = ", UNIQUE(";
        for (const auto& [position, column] : key.columns) {
          text += separator + ("`" + column.name + "`");
          separator = ", ";
        }
        text += ")";
      }
    }
    const auto found = checks_.find(name);
    if (options_.hasChecks && found != checks_.end()) {
      for (const auto& [constraint, clause] : found->second) {
        if (!clause.empty() && canShow(clause)) text += ", CHECK (" + clause + ")";
      }
    }
    return text;
  }

  Instructions instructions(const std::map<std::string, std::vector<Name>>& bySchema) const {
    std::string comments;
    std::string views;
    std::string kinds;
    for (const auto& [schema, names] : bySchema) {
      for (const Name& name : names) {
        const Relation& relation = relations_.at(name);
        const std::string shown = displayName(name);
        if (options_.hasTableComments && !relation.comment.empty()) {
          comments += "\n" + shown + ": " + commentText(relation.comment);
        }
        const auto view = viewTexts_.find(name);
        if (options_.hasViewTexts && view != viewTexts_.end() && canShow(view->second)) {
          views += "\n" + shown + ": " + view->second;
        }
        const std::string kind = lowerCase(relation.kind);
        if (kind.find("virtual") != std::string::npos || kind.find("foreign") != std::string::npos) {
          kinds += "\n" + shown + ": " + commentText(relation.kind);
        }
      }
    }
    Instructions all = {{"sql_dialect", dialectText()}};
    if (!comments.empty()) all.emplace_back("table_comments", "What the tables hold:" + comments);
    if (!views.empty()) all.emplace_back("view_texts", "The queries behind the views:" + views);
    if (!kinds.empty()) all.emplace_back("table_kinds", "Tables of a special kind:" + kinds);
    for (auto& [key, text] : all) text = repairUtf8(text);
    return all;
  }

  std::string dialectText() const {
    const auto withQuotes = [](const std::string& dialect) {
      return "Write SQL for " + dialect +
             ". The statements of the structure quote names with backticks; quote them with double quotes instead.";
    };
    switch (dialect_) {
      case Dialect::PostgreSQL:
        return withQuotes("PostgreSQL");
      case Dialect::SQLite:
        return withQuotes("SQLite");
      case Dialect::MySQL:
        return "Write SQL for MySQL. Quote names with backticks.";
      case Dialect::MariaDB:
        return "Write SQL for MariaDB. Quote names with backticks.";
      case Dialect::InformationSchema:
        break;
    }
    return withQuotes("the SQL standard");
  }

  void noteLooseRows(std::vector<std::string>& notes) const {
    for (const auto& [name, columns] : columns_) {
      if (relations_.count(name) == 0 && isTold(name)) {
        notes.push_back(repairUtf8("The columns of " + displayName(name) + " are left out: it is no table or view."));
      }
    }
  }

  Dialect dialect_;
  const StructureOptions& options_;
  const std::map<Name, Relation>& relations_;
  const std::map<Name, std::map<std::string, Column>>& columns_;
  const std::map<Name, std::string>& viewTexts_;
  std::map<Name, Keys> primaryKeys_, uniqueKeys_, foreignKeys_;
  std::map<Name, std::map<std::string, std::string>> checks_;
  std::map<Name, Name> byLowerName_;
  NameMentions hidden_;
};

}  // namespace

BuiltStructure assembleStructure(const CatalogRows& rows) {
  BuiltStructure built = Assembly(rows).build();
  // A million wrong rows are one sentence.
  for (const auto& [kind, count] : rows.wrong) {
    built.notes.push_back(std::to_string(count) + " rows of the kind " + std::to_string(kind) +
                          " are left out: their cells are not those of the kind.");
  }
  return built;
}

}  // namespace zeakit
