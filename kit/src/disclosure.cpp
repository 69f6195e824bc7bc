// SPDX-License-Identifier: Apache-2.0
#include "zeakit/disclosure.h"

#include <algorithm>

#include "name_mentions.h"
#include "name_pattern.h"
#include "structure_model.h"

namespace zeakit {

namespace {

/// One document while hidden names are taken out of it.
class Hiding {
 public:
  Hiding(const Disclosure& policy, StructureModel& model) : policy_(policy), model_(model) {
    for (const ModelRelation& relation : model_.relations) {
      const std::string_view table = model_.view(relation.name);
      const bool isHidden = isTableHidden(model_.schemaName(relation), table);
      if (isHidden) mentions_.add(table);
      for (std::uint32_t field = relation.firstField; field < relation.firstField + relation.fieldCount; ++field) {
        const std::string_view column = model_.view(model_.fields[field].name);
        if (!isHidden && isColumnHidden(table, column)) mentions_.add(column);
      }
    }
  }

  const NameMentions& mentions() const { return mentions_; }

  std::string run() {
    for (ModelText& type : model_.types) type = shown(type);
    std::vector<RelationPart> parts;
    for (std::uint32_t index = 0; index < model_.relations.size(); ++index) {
      ModelRelation& relation = model_.relations[index];
      const std::string_view table = model_.view(relation.name);
      if (isTableHidden(model_.schemaName(relation), table)) continue;
      RelationPart part{index, {}, {}};
      for (std::uint32_t field = 0; field < relation.fieldCount; ++field) {
        const ModelText column = model_.fields[relation.firstField + field].name;
        if (!isColumnHidden(table, model_.view(column))) part.fields.push_back(field);
      }
      if (hasHidden(table, relation.primaryKey)) relation.primaryKey.clear();
      for (std::uint32_t key = 0; key < relation.foreignKeys.size(); ++key) {
        if (canShow(relation, relation.foreignKeys[key])) part.foreignKeys.push_back(key);
      }
      parts.push_back(std::move(part));
    }
    return model_.documentOf(parts);
  }

 private:
  bool isTableHidden(std::string_view schema, std::string_view table) const {
    const auto& patterns = policy_.hiddenTables;
    return matchesAny(patterns, table) || matchesAny(patterns, std::string(schema).append(".").append(table));
  }

  bool isColumnHidden(std::string_view table, std::string_view column) const {
    const auto& patterns = policy_.hiddenColumns;
    return matchesAny(patterns, column) || matchesAny(patterns, std::string(table).append(".").append(column));
  }

  bool hasHidden(std::string_view table, const std::vector<ModelText>& columns) const {
    return std::any_of(columns.begin(), columns.end(),
                       [&](ModelText column) { return isColumnHidden(table, model_.view(column)); });
  }

  bool canShow(const ModelRelation& relation, const ModelForeignKey& key) const {
    const std::string_view schema = key.schema ? model_.view(*key.schema) : model_.schemaName(relation);
    const std::string_view target = model_.view(key.table);
    return !isTableHidden(schema, target) && !hasHidden(model_.view(relation.name), key.fields) &&
           !hasHidden(target, key.referenced);
  }

  ModelText shown(ModelText type) const {
    if (!mentions_.areIn(model_.view(type))) return type;
    const std::size_t end = model_.view(type).find_first_of(" (,/'");
    if (end != std::string_view::npos) type.length = static_cast<std::uint32_t>(end);
    if (mentions_.areIn(model_.view(type))) type.length = 0;
    return type;
  }

  const Disclosure& policy_;
  StructureModel& model_;
  NameMentions mentions_;
};

std::string linesWithout(const NameMentions& mentions, const std::string& text) {
  std::string kept;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
    const std::string line = text.substr(at, end - at);
    if (!mentions.areIn(line)) kept += line;
    at = end;
  }
  return kept;
}

/// The host of a URL or of a host with or without a port; empty when there is none that is surely read as meant.
std::string hostOf(std::string_view address) {
  const std::size_t scheme = address.find("://");
  if (scheme != std::string_view::npos) address.remove_prefix(scheme + 3);
  address = address.substr(0, address.find('/'));
  std::size_t end = address.find(':');
  if (!address.empty() && address.front() == '[') {
    end = address.find(']');
    end = end == std::string_view::npos ? 0 : end + 1;
  }
  const std::string host = lowerCase(address.substr(0, end));
  const std::string_view port = address.substr(std::min(end, address.size()));
  // A user ahead of "@", or anything else that some reader of URLs takes for the end of the host.
  const auto isPlain = [](std::string_view text, std::string_view others) {
    return std::all_of(text.begin(), text.end(), [others](char byte) {
      return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') ||
             others.find(byte) != std::string_view::npos;
    });
  };
  const bool isPort = port.empty() || (port.front() == ':' && port.find_first_not_of("0123456789", 1) == port.npos);
  return isPlain(host, ".-_[]:") && isPort ? host : std::string();
}

bool isLoopback(std::string_view host) {
  if (host == "localhost" || host == "[::1]") return true;
  // Four numbers; a name that only begins like an address is a name.
  int dots = 0;
  int value = -1;
  for (const char byte : host) {
    if (byte == '.') {
      if (value < 0) return false;
      ++dots;
      value = -1;
    } else if (byte < '0' || byte > '9') {
      return false;
    } else {
      value = (value < 0 ? 0 : value * 10) + (byte - '0');
      if (value > 255) return false;
    }
  }
  return dots == 3 && value >= 0 && host.substr(0, 4) == "127.";
}

}  // namespace

BuiltStructure Disclosure::apply(const BuiltStructure& structure) const {
  BuiltStructure shown;
  shown.notes = structure.notes;
  std::string error;
  auto model = readStructureModel(structure.document, error);
  if (!model) {
    // What is hidden cannot be told, so nothing is shown.
    shown.document = "[]";
    shown.notes.push_back(error);
    return shown;
  }
  Hiding hiding(*this, *model);
  for (const auto& [name, text] : structure.instructions) {
    shown.instructions.emplace_back(name, linesWithout(hiding.mentions(), text));
  }
  shown.document = hiding.run();
  return shown;
}

std::string Disclosure::apply(const std::string& document) const {
  return apply(BuiltStructure{document, {}, {}}).document;
}

std::string Disclosure::refusalOf(std::string_view host) const {
  const std::string name = hostOf(host);
  if (name.empty()) return "The address of the provider cannot be read.";
  if (!mayLeaveMachine && !isLoopback(name)) {
    return "Nothing of this database may leave this machine, so " + name + " is not asked.";
  }
  if (!allowedHosts.empty() && !matchesAny(allowedHosts, name)) return name + " is no host that may be asked.";
  return {};
}

}  // namespace zeakit
