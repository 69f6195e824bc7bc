// SPDX-License-Identifier: Apache-2.0
#include "standin/standin_words.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "standin/prompt_schema.h"

namespace standin {

namespace {

constexpr std::size_t kMostNames = 40;
constexpr std::size_t kMostColumns = 4;

bool isWordCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }

// "Orders", "order" and "ORDERS" are one word; so are "categories" and "category", "addresses" and "address".
std::string stemOf(std::string_view word) {
  std::string stem(word);
  for (char& c : stem) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (stem.ends_with("ies")) return stem.substr(0, stem.size() - 3) + "y";
  for (const std::string_view ending : {"sses", "xes", "ches", "shes"}) {
    if (stem.ends_with(ending)) return stem.substr(0, stem.size() - 2);
  }
  if (stem.ends_with("s") && !stem.ends_with("ss")) stem.pop_back();
  return stem;
}

std::vector<std::string> stemsOf(std::string_view text) {
  std::vector<std::string> stems;
  std::size_t begin = 0;
  while (begin < text.size()) {
    std::size_t end = begin;
    while (end < text.size() && isWordCharacter(text[end])) ++end;
    if (end > begin) stems.push_back(stemOf(text.substr(begin, end - begin)));
    begin = end + 1;
  }
  return stems;
}

// The relation whose name the question mentions; of several the one with the most words, so that "open orders" is
// not taken for "orders". Null when there is none.
const Relation* findMentioned(const std::vector<Relation>& relations, std::string_view question) {
  const auto words = stemsOf(question);
  const Relation* best = nullptr;
  std::size_t bestCount = 0;
  for (const Relation& relation : relations) {
    const auto name = stemsOf(relation.name);
    const bool isMentioned = std::search(words.begin(), words.end(), name.begin(), name.end()) != words.end();
    if (isMentioned && name.size() > bestCount) {
      best = &relation;
      bestCount = name.size();
    }
  }
  return best;
}

std::string quote(const std::string& name) {
  const bool isPlain = !name.empty() && std::isdigit(static_cast<unsigned char>(name.front())) == 0 &&
                       std::all_of(name.begin(), name.end(), [](char c) { return isWordCharacter(c) || c == '_'; });
  if (isPlain) return name;
  std::string quoted = "\"";
  for (const char c : name) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

std::string qualify(const std::string& schema, const std::string& name) {
  return schema.empty() ? quote(name) : quote(schema) + "." + quote(name);
}

// A SELECT of one relation, joined with the first that it refers to.
class SelectWriter {
 public:
  SelectWriter(const Relation& relation, const std::vector<Relation>& all) : relation_(relation), all_(all) {}

  std::string write() const {
    const ForeignKey* key = chooseKey();
    std::string columns;
    const std::size_t count = std::min(relation_.columns.size(), kMostColumns);
    for (std::size_t index = 0; index < count; ++index) {
      if (index > 0) columns += ", ";
      columns += quote(relation_.name) + "." + quote(relation_.columns[index]);
    }
    if (columns.empty()) columns += '*';
    if (key == nullptr) return head(columns) + "\nLIMIT 20;";
    return head(columns + describingColumn(*key)) + join(*key) + "\nLIMIT 20;";
  }

 private:
  std::string head(const std::string& columns) const {
    return "SELECT " + columns + "\nFROM " + qualify(relation_.schema, relation_.name);
  }

  // A reference to another relation tells more than one to itself.
  const ForeignKey* chooseKey() const {
    const auto& keys = relation_.foreignKeys;
    const auto other = std::find_if(keys.begin(), keys.end(), [this](const auto& key) { return !isOwn(key); });
    if (other != keys.end()) return &*other;
    return keys.empty() ? nullptr : &keys.front();
  }

  bool isOwn(const ForeignKey& key) const { return key.table == relation_.name; }

  std::string aliasOf(const ForeignKey& key) const { return isOwn(key) ? "referenced" : quote(key.table); }

  // The first column of the referenced relation that says more than the key does.
  std::string describingColumn(const ForeignKey& key) const {
    for (const Relation& relation : all_) {
      if (relation.name != key.table) continue;
      for (const std::string& column : relation.columns) {
        const auto& known = key.referencedColumns;
        if (std::find(known.begin(), known.end(), column) == known.end()) {
          return ", " + aliasOf(key) + "." + quote(column);
        }
      }
    }
    return {};
  }

  std::string join(const ForeignKey& key) const {
    std::string text = "\nJOIN " + qualify(key.schema, key.table);
    if (isOwn(key)) text += " AS " + aliasOf(key);
    const std::size_t count = std::min(key.columns.size(), key.referencedColumns.size());
    for (std::size_t index = 0; index < count; ++index) {
      text += index == 0 ? " ON " : " AND ";
      text += aliasOf(key) + "." + quote(key.referencedColumns[index]) + " = " + quote(relation_.name) + "." +
              quote(key.columns[index]);
    }
    return text;
  }

  const Relation& relation_;
  const std::vector<Relation>& all_;
};

std::string countOf(std::size_t count, const std::string& noun) {
  const std::string number = count == 0 ? "no" : std::to_string(count);
  return number + " " + noun + (count == 1 ? "" : "s");
}

// Such as "2 tables (a, b)".
std::string listOf(const std::vector<Relation>& relations, bool views) {
  std::string names;
  std::size_t count = 0;
  for (const Relation& relation : relations) {
    if (relation.isView != views) continue;
    ++count;
    if (count > kMostNames) continue;
    names += (names.empty() ? "" : ", ") + relation.name;
  }
  if (count > kMostNames) names += ", ...";
  return countOf(count, views ? "view" : "table") + (names.empty() ? "" : " (" + names + ")");
}

}  // namespace

std::string composeAnswer(const Conversation& conversation) {
  const auto relations = readRelations(conversation.system);
  std::string text = "I am a stand-in, no model. The system prompt tells me of " + listOf(relations, false) + " and " +
                     listOf(relations, true) + ". With your question came " +
                     countOf(conversation.earlierTurns, "earlier turn") + ".";
  if (relations.empty()) return text;
  const Relation* mentioned = findMentioned(relations, conversation.question);
  const Relation& subject = mentioned != nullptr ? *mentioned : relations.front();
  text += mentioned != nullptr ? " You mention " + subject.name + ", so this may fit:"
                               : " You mention none of them by name, so here is the first:";
  return text + "\n\n```sql\n" + SelectWriter(subject, relations).write() + "\n```";
}

}  // namespace standin
