// SPDX-License-Identifier: Apache-2.0
#include "zeakit/structure_index.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "name_mentions.h"
#include "name_pattern.h"
#include "structure_model.h"
#include "structure_ranking.h"

namespace zeakit {

struct StructureIndex::Content {
  std::string error;
  StructureModel model;
  std::optional<StructureRanking> ranking;
  /// For each relation the family of those that differ from it in digits only, or none.
  std::vector<std::int32_t> families;
};

namespace {

constexpr double kWholeShare = 0.3;         // of the budget is for whole tables
constexpr double kWholeLikelihood = 0.7;    // what is less likely is slimmed at once
constexpr double kLikely = 0.5;             // foreign keys to such tables are kept
constexpr std::size_t kWidest = 6;          // a table that takes more than this part of the budget is slimmed
constexpr std::size_t kSlimmedColumns = 5;  // besides those of keys

/// The name with each run of digits as "#".
std::string withoutDigits(std::string_view name) {
  std::string text;
  for (const char byte : name) {
    const bool isDigit = byte >= '0' && byte <= '9';
    if (!isDigit) text += byte;
    if (isDigit && (text.empty() || text.back() != '#')) text += '#';
  }
  return text;
}

/// Names and patterns: of thousands of names most are no patterns, and are looked up.
class NameList {
 public:
  explicit NameList(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      if (name.find_first_of("*?") != std::string::npos) {
        patterns_.push_back(name);
      } else {
        names_.insert(lowerCase(name));
      }
    }
  }

  bool holds(std::string_view name) const { return names_.count(lowerCase(name)) > 0 || matchesAny(patterns_, name); }

 private:
  std::set<std::string> names_;
  std::vector<std::string> patterns_;
};

/// Tables of one schema with the same columns whose names differ in digits only, from three on.
std::vector<std::int32_t> findFamilies(const StructureModel& model) {
  std::map<std::string, std::vector<std::size_t>> groups;
  for (std::size_t index = 0; index < model.relations.size(); ++index) {
    const ModelRelation& relation = model.relations[index];
    const std::string_view name = model.view(relation.name);
    if (name.find_first_of("0123456789") == std::string_view::npos) continue;
    std::string key = std::to_string(relation.schema) + " " + withoutDigits(name);
    for (std::uint32_t field = relation.firstField; field < relation.firstField + relation.fieldCount; ++field) {
      key.append("\n").append(model.view(model.fields[field].name));
    }
    groups[key].push_back(index);
  }
  std::vector<std::int32_t> families(model.relations.size(), -1);
  std::int32_t next = 0;
  for (const auto& [key, members] : groups) {
    if (members.size() < 3) continue;
    for (const std::size_t member : members) families[member] = next;
    ++next;
  }
  return families;
}

/// One fit while it is made.
class Fitting {
 public:
  Fitting(const StructureModel& model, const StructureRanking& ranker, const std::vector<std::int32_t>& families,
          std::string_view question, const FitOptions& options)
      : model_(model),
        ranker_(ranker),
        families_(families),
        options_(options),
        ranking_(ranker.rank(model, question)),
        places_(model.relations.size(), -1) {
    inScope();
    best_ = 0;
    for (const std::uint32_t relation : order_) best_ = std::max(best_, ranking_.scores[relation]);
  }

  Fit run() {
    Fit fit;
    placeFirst(fit);
    const auto wholeShare = static_cast<std::size_t>(static_cast<double>(options_.budget) * kWholeShare);
    for (const std::uint32_t relation : order_) {
      if (likelihood(relation) < kWholeLikelihood || tokens_ > wholeShare) break;
      if (!isFolded(relation)) placeWholeOrSlimmed(relation, wholeShare);
    }
    bool isFull = false;
    for (const std::uint32_t relation : order_) {
      if (!isFolded(relation) && !place(slimmed(relation), FitDepth::Slimmed)) isFull = true;
      if (isFull && tokens_ + 20 > options_.budget) break;
    }
    for (const std::uint32_t relation : order_) {
      if (tokens_ + 8 > options_.budget) break;
      place({relation, {}, {}}, FitDepth::Named);
    }
    if (!isFull) growSlimmed();
    write(fit);
    return fit;
  }

 private:
  struct Placed {
    RelationPart part;
    FitDepth depth;
    std::size_t tokens;
  };

  double likelihood(std::uint32_t relation) const { return best_ > 0 ? ranking_.scores[relation] / best_ : 0; }

  bool isLikely(std::int64_t target) const {
    if (target < 0) return false;
    const auto relation = static_cast<std::uint32_t>(target);
    return places_[relation] >= 0 || likelihood(relation) >= kLikely;
  }

  /// The relations that may be there, the likeliest first.
  void inScope() {
    const NameList scope(options_.scope);
    for (std::uint32_t relation = 0; relation < model_.relations.size(); ++relation) {
      if (options_.scope.empty() || isNamedBy(scope, relation)) order_.push_back(relation);
    }
    std::sort(order_.begin(), order_.end(), [&](std::uint32_t a, std::uint32_t b) {
      return ranking_.scores[a] != ranking_.scores[b] ? ranking_.scores[a] > ranking_.scores[b] : a < b;
    });
  }

  bool isNamedBy(const NameList& names, std::uint32_t relation) const {
    return names.holds(model_.view(model_.relations[relation].name)) ||
           names.holds(model_.fullName(model_.relations[relation]));
  }

  /// What is there whatever the question says: as much of it as there is room for.
  void placeFirst(Fit& fit) {
    if (!options_.pinned.empty()) {
      const NameList names(options_.pinned);
      std::vector<std::uint32_t> pinned;
      for (const std::uint32_t relation : order_) {
        if (isNamedBy(names, relation)) pinned.push_back(relation);
      }
      // Names first, so that none is lost to the columns of another.
      for (const std::uint32_t relation : pinned) {
        if (place({relation, {}, {}}, FitDepth::Named)) continue;
        fit.notes.push_back("The budget has no room for " + model_.fullName(model_.relations[relation]) + ".");
      }
      for (const std::uint32_t relation : pinned) grow(relation, slimmed(relation), FitDepth::Slimmed);
      for (const std::uint32_t relation : pinned) grow(relation, model_.wholeOf(relation), FitDepth::Whole);
    }
    if (options_.recent.empty()) return;
    for (const std::uint32_t relation : order_) {
      const std::string name = model_.fullName(model_.relations[relation]);
      if (std::find(options_.recent.begin(), options_.recent.end(), name) == options_.recent.end()) continue;
      placeWholeOrSlimmed(relation, options_.budget);
    }
  }

  void placeWholeOrSlimmed(std::uint32_t relation, std::size_t limit) {
    if (places_[relation] >= 0) return;
    RelationPart whole = model_.wholeOf(relation);
    const std::size_t tokens = model_.tokensOf(whole);
    if (tokens <= std::max<std::size_t>(options_.budget / kWidest, 60) && tokens_ + tokens <= limit) {
      place(std::move(whole), FitDepth::Whole);
    } else {
      place(slimmed(relation), FitDepth::Slimmed);
    }
  }

  void growSlimmed() {
    for (const std::uint32_t relation : order_) {
      if (places_[relation] >= 0) grow(relation, model_.wholeOf(relation), FitDepth::Whole);
    }
  }

  /// Of a family only the first is told.
  bool isFolded(std::uint32_t relation) {
    const std::int32_t family = families_[relation];
    if (family < 0 || places_[relation] >= 0) return false;
    const auto [found, isNew] = toldFamilies_.emplace(family, relation);
    return found->second != relation;
  }

  RelationPart slimmed(std::uint32_t index) const {
    const ModelRelation& relation = model_.relations[index];
    RelationPart part{index, {}, {}};
    std::vector<bool> isTold(relation.fieldCount);
    const auto tell = [&](const std::vector<ModelText>& names) {
      for (const ModelText name : names) {
        for (std::uint32_t field = 0; field < relation.fieldCount; ++field) {
          if (model_.view(model_.fields[relation.firstField + field].name) == model_.view(name)) isTold[field] = true;
        }
      }
    };
    tell(relation.primaryKey);
    for (std::uint32_t key = 0; key < relation.foreignKeys.size(); ++key) {
      if (!isLikely(relation.foreignKeys[key].target)) continue;
      part.foreignKeys.push_back(key);
      tell(relation.foreignKeys[key].fields);
    }
    std::vector<std::pair<float, std::uint32_t>> matching;
    for (std::uint32_t field = 0; field < relation.fieldCount; ++field) {
      const float weight = isTold[field] ? 0 : ranker_.weightOf(model_, ranking_, relation.firstField + field);
      if (weight > 0) matching.emplace_back(-weight, field);
    }
    std::sort(matching.begin(), matching.end());
    if (matching.size() > kSlimmedColumns) matching.resize(kSlimmedColumns);
    for (const auto& [weight, field] : matching) isTold[field] = true;
    if (relation.fieldCount > 0 && std::find(isTold.begin(), isTold.end(), true) == isTold.end()) isTold[0] = true;
    for (std::uint32_t field = 0; field < relation.fieldCount; ++field) {
      if (isTold[field]) part.fields.push_back(field);
    }
    return part;
  }

  /// False when there is no room for it; what is there already stays.
  bool place(RelationPart part, FitDepth depth) {
    if (places_[part.relation] >= 0) return true;
    const std::size_t tokens = model_.tokensOf(part);
    const std::size_t all = tokens_ + tokens + catalogTokens(part.relation);
    if (all > options_.budget) return false;
    tokens_ = all;
    toldCatalogs_.insert(catalogOf(part.relation));
    places_[part.relation] = static_cast<std::int64_t>(placed_.size());
    placed_.push_back({std::move(part), depth, tokens});
    return true;
  }

  void grow(std::uint32_t relation, RelationPart part, FitDepth depth) {
    if (places_[relation] < 0) return;
    Placed& placed = placed_[static_cast<std::size_t>(places_[relation])];
    if (placed.depth <= depth) return;
    const std::size_t tokens = tokens_ - placed.tokens + model_.tokensOf(part);
    if (tokens > options_.budget) return;
    placed = {std::move(part), depth, placed.tokens + tokens - tokens_};
    tokens_ = tokens;
  }

  /// The line ahead of the statements of a catalog that has none yet.
  std::size_t catalogTokens(std::uint32_t relation) const {
    const std::uint32_t catalog = catalogOf(relation);
    return toldCatalogs_.count(catalog) > 0 ? 0 : model_.tokensOfCatalog(catalog);
  }
  std::uint32_t catalogOf(std::uint32_t relation) const {
    return model_.schemas[model_.relations[relation].schema].catalog;
  }

  void write(Fit& fit) {
    std::sort(placed_.begin(), placed_.end(),
              [](const Placed& a, const Placed& b) { return a.part.relation < b.part.relation; });
    std::vector<RelationPart> parts;
    for (Placed& placed : placed_) {
      const std::uint32_t relation = placed.part.relation;
      // What has few columns may be whole already.
      const bool isWhole = placed.part.fields.size() == model_.relations[relation].fieldCount &&
                           placed.part.foreignKeys.size() == model_.relations[relation].foreignKeys.size();
      fit.tables.push_back({model_.fullName(model_.relations[relation]), isWhole ? FitDepth::Whole : placed.depth,
                            likelihood(relation)});
      parts.push_back(std::move(placed.part));
    }
    fit.document = model_.documentOf(parts);
    fit.tokens = tokens_;
  }

  const StructureModel& model_;
  const StructureRanking& ranker_;
  const std::vector<std::int32_t>& families_;
  const FitOptions& options_;
  const Ranking ranking_;
  float best_ = 0;
  std::vector<std::uint32_t> order_;
  std::vector<std::int64_t> places_;  // in placed_, or -1
  std::vector<Placed> placed_;
  std::set<std::uint32_t> toldCatalogs_;
  std::map<std::int32_t, std::uint32_t> toldFamilies_;
  std::size_t tokens_ = 0;
};

}  // namespace

StructureIndex::StructureIndex(const std::string& document) {
  auto content = std::make_unique<Content>();
  if (auto model = readStructureModel(document, content->error)) content->model = std::move(*model);
  content->ranking.emplace(content->model);
  content->families = findFamilies(content->model);
  content_ = std::move(content);
}
StructureIndex::~StructureIndex() = default;
StructureIndex::StructureIndex(StructureIndex&&) noexcept = default;
StructureIndex& StructureIndex::operator=(StructureIndex&&) noexcept = default;

const std::string& StructureIndex::error() const { return content_->error; }
std::size_t StructureIndex::size() const { return content_->model.relations.size(); }

Fit StructureIndex::fit(std::string_view question, const FitOptions& options) const {
  return Fitting(content_->model, *content_->ranking, content_->families, question, options).run();
}

}  // namespace zeakit
