// SPDX-License-Identifier: Apache-2.0
#include "structure_ranking.h"

#ifdef ZEAKIT_HAS_STEMMER
#include <libstemmer.h>
#endif

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "name_words.h"

namespace zeakit {

namespace {

// Where a term stands.
constexpr std::uint32_t kInName = 0;
constexpr std::uint32_t kInColumn = 1;
constexpr std::uint32_t kInComment = 2;
constexpr std::uint32_t kInSchema = 3;
constexpr float kPlaceWeights[] = {2.0F, 1.0F, 0.5F, 0.5F};

constexpr float kWholeNameBonus = 1.6F;
constexpr float kSchemaShare = 0.45F;
constexpr float kNeighbourShare = 0.15F;

constexpr float kPartQuality = 0.65F;  // of a word within a longer one
constexpr float kSynonymQuality = 0.6F;

// Words of questions that say nothing about tables.
const std::set<std::string, std::less<>> kStopWords = {
    "a",      "about", "all",   "also", "an",    "and",   "any",  "are",  "as",    "at",   "be",    "been",
    "both",   "but",   "by",    "can",  "did",   "do",    "does", "each", "every", "find", "for",   "from",
    "give",   "had",   "has",   "have", "how",   "i",     "in",   "into", "is",    "it",   "its",   "list",
    "many",   "me",    "more",  "most", "much",  "no",    "not",  "of",   "on",    "one",  "or",    "our",
    "please", "s",     "show",  "so",   "some",  "such",  "t",    "than", "that",  "the",  "their", "them",
    "then",   "there", "these", "they", "this",  "those", "to",   "us",   "was",   "we",   "were",  "what",
    "when",   "where", "which", "who",  "whose", "will",  "with", "you",  "your"};

// What people call the things that databases are kept about: each line says one thing, in stems.
constexpr std::string_view kSynonyms[] = {
    "nation countri",
    "peopl person human",
    "employe staff worker personnel",
    "custom client buyer",
    "product item good articl",
    "shop store",
    "car vehicl automobil",
    "compani firm busi corpor",
    "salari wage pay earn",
    "teacher instructor professor lectur",
    "movi film",
    "phone telephon",
    "purchas order buy bought",
    "town citi municip",
    "suppli vendor",
    "cost price amount",
    "job posit occup",
    "doctor physician",
    "airplan plane aircraft",
    "book titl",
    "begin start",
    "end finish",
    "home hous",
    "birth born birthday",
    "speak languag spoken",
    "child children kid",
    "men man male",
    "women woman femal",
};

bool isVowel(char letter) { return std::string_view("aeiou").find(letter) != std::string_view::npos; }

/// Whether a word may be written that short: its beginning ("cust" of "customer"), or some of its letters in their
/// order with the first, and hardly a vowel ("qty", "dept").
float abbreviationQuality(std::string_view abbreviation, std::string_view word) {
  if (abbreviation.size() < 2 || abbreviation.size() + 2 > word.size()) return 0;
  if (word.substr(0, abbreviation.size()) == abbreviation) {
    return abbreviation.size() >= 4 ? 0.8F : abbreviation.size() == 3 ? 0.15F : 0.0F;
  }
  if (std::count_if(abbreviation.begin(), abbreviation.end(), isVowel) > 1) return 0;
  std::size_t at = 0;
  for (const char letter : abbreviation) {
    at = word.find(letter, at);
    if (at == std::string_view::npos || (letter == abbreviation.front() && &letter == abbreviation.data() && at != 0)) {
      return 0;
    }
    ++at;
  }
  return abbreviation.size() >= 3 ? 0.15F : 0.0F;
}

std::string reversed(std::string_view text) { return {text.rbegin(), text.rend()}; }

/// The comments in a type and the values between quotes, which say what a column holds.
template <class Take>
void forEachTypeWord(std::string_view type, Take take) {
  for (std::size_t at = 0; at < type.size();) {
    const std::size_t begin = type.find_first_of("/'", at);
    if (begin == std::string_view::npos) return;
    const bool isComment = type.compare(begin, 2, "/*") == 0;
    if (!isComment && type[begin] == '/') {
      at = begin + 1;
      continue;
    }
    const std::size_t end = std::min(type.find(isComment ? "*/" : "'", begin + 1), type.size());
    forEachWord(type.substr(begin + 1, end - begin - 1), take);
    at = end + 1;
  }
}

}  // namespace

#ifdef ZEAKIT_HAS_STEMMER
Stemmer::Stemmer() : stemmer_(sb_stemmer_new("english", nullptr)) {}
Stemmer::~Stemmer() { sb_stemmer_delete(stemmer_); }

std::string_view Stemmer::stem(std::string_view word) const {
  if (stemmer_ == nullptr || word.size() < 3 || word.size() > 64) return word;
  const auto* const text =
      sb_stemmer_stem(stemmer_, reinterpret_cast<const sb_symbol*>(word.data()), static_cast<int>(word.size()));
  if (text == nullptr) return word;
  return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(sb_stemmer_length(stemmer_))};
}
#else
Stemmer::Stemmer() : stemmer_(nullptr) {}
Stemmer::~Stemmer() = default;
std::string_view Stemmer::stem(std::string_view word) const { return word; }
#endif

StructureRanking::StructureRanking(const StructureModel& model) {
  indexRelations(model);
  linkRelations(model);
  byStart_.resize(terms_.size());
  for (std::uint32_t term = 0; term < terms_.size(); ++term) byStart_[term] = term;
  byEnd_ = byStart_;
  std::sort(byStart_.begin(), byStart_.end(), [&](auto a, auto b) { return terms_[a] < terms_[b]; });
  std::sort(byEnd_.begin(), byEnd_.end(), [&](auto a, auto b) {
    return std::lexicographical_compare(terms_[a].rbegin(), terms_[a].rend(), terms_[b].rbegin(), terms_[b].rend());
  });
}

void StructureRanking::indexRelations(const StructureModel& model) {
  const Stemmer stemmer;
  Map<std::uint32_t> words;  // stems of words that came before
  const auto termsOf = [&](std::string_view text, bool isType) {
    std::vector<std::uint32_t> terms;
    const auto take = [&](std::string_view word) {
      auto known = words.find(word);
      if (known == words.end()) {
        const std::string stem(stemmer.stem(word));
        const auto [term, isNew] = termIds_.emplace(stem, static_cast<std::uint32_t>(terms_.size()));
        if (isNew) terms_.push_back(stem);
        known = words.emplace(word, term->second).first;
      }
      terms.push_back(known->second);
    };
    isType ? forEachTypeWord(text, take) : forEachWord(text, take);
    return terms;
  };
  const auto viewOf = [&](const std::optional<ModelText>& text) {
    return text ? model.view(*text) : std::string_view();
  };

  for (const ModelText type : model.types) typeTerms_.push_back(termsOf(model.view(type), true));
  std::vector<std::vector<std::uint32_t>> schemaTerms;
  for (const ModelSchema& schema : model.schemas) schemaTerms.push_back(termsOf(viewOf(schema.name), false));

  // Many columns share a name.
  std::unordered_map<std::string_view, std::uint32_t> columnNames;
  columnNames_.reserve(model.fields.size());
  for (const ModelField& field : model.fields) {
    const auto [known, isNew] =
        columnNames.emplace(model.view(field.name), static_cast<std::uint32_t>(columnTerms_.size()));
    if (isNew) columnTerms_.push_back(termsOf(known->first, false));
    columnNames_.push_back(known->second);
  }

  std::vector<std::pair<std::uint32_t, std::uint32_t>> all;  // term, relation and place
  all.reserve(model.fields.size() * 2);
  std::vector<std::uint32_t> lastRelations;  // by term and place, counted from 1
  for (std::uint32_t index = 0; index < model.relations.size(); ++index) {
    const ModelRelation& relation = model.relations[index];
    const auto add = [&](const std::vector<std::uint32_t>& terms, std::uint32_t place) {
      for (const std::uint32_t term : terms) {
        std::uint32_t& last = lastRelations[term << 2U | place];
        if (std::exchange(last, index + 1) != index + 1) all.emplace_back(term, index << 2U | place);
      }
    };
    const std::vector<std::uint32_t> nameTerms = termsOf(model.view(relation.name), false);
    nameLengths_.push_back(static_cast<std::uint32_t>(nameTerms.size()));
    lastRelations.resize(terms_.size() << 2U);
    add(nameTerms, kInName);
    for (std::uint32_t field = relation.firstField; field < relation.firstField + relation.fieldCount; ++field) {
      add(columnTerms_[columnNames_[field]], kInColumn);
      add(typeTerms_[model.fields[field].type], kInComment);
    }
    add(schemaTerms[relation.schema], kInSchema);
  }

  postingStarts_.assign(terms_.size() + 1, 0);
  for (const auto& [term, posting] : all) ++postingStarts_[term + 1];
  for (std::size_t term = 0; term < terms_.size(); ++term) postingStarts_[term + 1] += postingStarts_[term];
  postings_.resize(all.size());
  std::vector<std::uint32_t> ends(postingStarts_.begin(), postingStarts_.end());
  for (const auto& [term, posting] : all) postings_[ends[term]++] = posting;
}

void StructureRanking::linkRelations(const StructureModel& model) {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> links;
  for (std::uint32_t index = 0; index < model.relations.size(); ++index) {
    for (const ModelForeignKey& key : model.relations[index].foreignKeys) {
      if (key.target < 0 || key.target == index) continue;
      links.emplace_back(index, static_cast<std::uint32_t>(key.target));
      links.emplace_back(static_cast<std::uint32_t>(key.target), index);
    }
  }
  std::sort(links.begin(), links.end());
  links.erase(std::unique(links.begin(), links.end()), links.end());
  neighbourStarts_.assign(model.relations.size() + 1, 0);
  for (const auto& [from, to] : links) {
    ++neighbourStarts_[from + 1];
    neighbours_.push_back(to);
  }
  for (std::size_t index = 0; index < model.relations.size(); ++index)
    neighbourStarts_[index + 1] += neighbourStarts_[index];
}

std::vector<StructureRanking::QuestionWord> StructureRanking::readQuestion(std::string_view question) const {
  const Stemmer stemmer;
  std::vector<QuestionWord> words;
  std::set<std::string> known;
  std::string previous;
  forEachWord(question.substr(0, 20000), [&](std::string_view word) {
    // Names are often written together: "first name" and "firstname".
    std::string joined = previous + std::string(word);
    previous = word;
    for (const bool isJoined : {false, true}) {
      QuestionWord entry{isJoined ? joined : std::string(word), {}, {}};
      if (isJoined && (entry.word == word)) continue;
      if (!isJoined && kStopWords.find(word) != kStopWords.end()) continue;
      entry.stem = stemmer.stem(entry.word);
      if (words.size() >= 200 || !known.insert(entry.stem).second) continue;
      if (isJoined) {
        const auto found = termIds_.find(entry.stem);
        if (found == termIds_.end()) continue;
        entry.matches.push_back({found->second, 1.0F});
      } else {
        addMatches(entry);
      }
      if (!entry.matches.empty()) words.push_back(std::move(entry));
    }
  });
  return words;
}

void StructureRanking::addMatches(QuestionWord& word) const {
  const auto add = [&](std::uint32_t term, float quality) {
    for (const Match& match : word.matches) {
      if (match.term == term) return;
    }
    word.matches.push_back({term, quality});
  };
  const auto found = termIds_.find(word.stem);
  if (found != termIds_.end()) add(found->second, 1.0F);
  for (const std::string_view synonyms : kSynonyms) {
    bool isOne = false;
    forEachWord(synonyms, [&](std::string_view stem) { isOne = isOne || stem == word.stem; });
    if (!isOne) continue;
    forEachWord(synonyms, [&](std::string_view stem) {
      const auto synonym = termIds_.find(stem);
      if (synonym != termIds_.end()) add(synonym->second, kSynonymQuality);
    });
  }
  if (word.stem.size() < 3 || static_cast<unsigned char>(word.stem[0]) >= 0x80) return;
  // Terms with the same first letter: abbreviations of the word, and what it is the beginning or abbreviation of.
  const auto startsBefore = [&](std::uint32_t term, std::string_view text) {
    return std::string_view(terms_[term]) < text;
  };
  const std::string first(1, word.stem[0]);
  const std::string next(1, static_cast<char>(word.stem[0] + 1));
  const auto begin = std::lower_bound(byStart_.begin(), byStart_.end(), first, startsBefore);
  const auto end = std::lower_bound(begin, byStart_.end(), next, startsBefore);
  for (auto at = begin; at != end; ++at) {
    const std::string& term = terms_[*at];
    if (term.size() < word.stem.size() && std::isdigit(static_cast<unsigned char>(term[0])) == 0) {
      const float quality = abbreviationQuality(term, word.word);
      if (quality > 0) add(*at, quality);
    } else if (word.stem.size() >= 4 && term.compare(0, word.stem.size(), word.stem) == 0) {
      add(*at, kPartQuality);
    } else {
      const float quality = abbreviationQuality(word.word, term);
      if (quality > 0) add(*at, quality * 0.8F);
    }
  }
  // "acct" ends "useracct".
  if (word.stem.size() < 4) return;
  const std::string backwards = reversed(word.stem);
  const auto endsBefore = [&](std::uint32_t term, const std::string& text) {
    return std::lexicographical_compare(terms_[term].rbegin(), terms_[term].rend(), text.begin(), text.end());
  };
  for (auto at = std::lower_bound(byEnd_.begin(), byEnd_.end(), backwards, endsBefore); at != byEnd_.end(); ++at) {
    const std::string& term = terms_[*at];
    if (term.size() < word.stem.size() ||
        term.compare(term.size() - word.stem.size(), std::string::npos, word.stem) != 0)
      break;
    add(*at, kPartQuality);
  }
}

Ranking StructureRanking::rank(const StructureModel& model, std::string_view question) const {
  const std::size_t count = model.relations.size();
  Ranking ranking{std::vector<float>(count), std::vector<float>(terms_.size())};
  const std::vector<QuestionWord> words = readQuestion(question);
  std::vector<float> schemaScores(model.schemas.size());
  std::vector<float> schemaHits(model.schemas.size());
  std::vector<float> hits(count), nameHits(count), named(count);
  std::vector<std::uint32_t> touched;
  for (const QuestionWord& word : words) {
    touched.clear();
    for (const Match& match : word.matches) {
      for (std::uint32_t at = postingStarts_[match.term]; at < postingStarts_[match.term + 1]; ++at) {
        const std::uint32_t relation = postings_[at] >> 2U;
        const std::uint32_t place = postings_[at] & 3U;
        if (hits[relation] == 0) touched.push_back(relation);
        hits[relation] = std::max(hits[relation], match.quality * kPlaceWeights[place]);
        if (place == kInName) nameHits[relation] = std::max(nameHits[relation], match.quality);
      }
    }
    const float weight = std::log(1.0F + static_cast<float>(count) / static_cast<float>(touched.size() + 1));
    for (const Match& match : word.matches) {
      ranking.termWeights[match.term] = std::max(ranking.termWeights[match.term], match.quality * weight);
    }
    for (const std::uint32_t relation : touched) {
      const std::uint32_t schema = model.relations[relation].schema;
      schemaHits[schema] = std::max(schemaHits[schema], hits[relation] * weight);
      ranking.scores[relation] += hits[relation] * weight;
      named[relation] += nameHits[relation] * (1 + weight);
    }
    for (const std::uint32_t relation : touched) {
      const std::uint32_t schema = model.relations[relation].schema;
      schemaScores[schema] += std::exchange(schemaHits[schema], 0.0F);
      hits[relation] = nameHits[relation] = 0;
    }
  }
  for (std::size_t index = 0; index < count; ++index) {
    if (named[index] > 0)
      ranking.scores[index] += kWholeNameBonus * named[index] / static_cast<float>(nameLengths_[index]);
    ranking.scores[index] += kSchemaShare * schemaScores[model.relations[index].schema];
  }
  // What lies between two tables of the question is needed to join them.
  std::vector<float> spread(count);
  for (std::size_t index = 0; index < count; ++index) {
    float best = 0, second = 0;
    for (std::uint32_t at = neighbourStarts_[index]; at < neighbourStarts_[index + 1]; ++at) {
      const float score = ranking.scores[neighbours_[at]];
      if (score > best)
        std::swap(second, best), best = score;
      else
        second = std::max(second, score);
    }
    spread[index] = kNeighbourShare * (best + second) / 2;
  }
  for (std::size_t index = 0; index < count; ++index) ranking.scores[index] += spread[index];
  return ranking;
}

float StructureRanking::weightOf(const StructureModel& model, const Ranking& ranking, std::uint32_t field) const {
  float weight = 0;
  for (const std::uint32_t term : columnTerms_[columnNames_[field]]) weight += ranking.termWeights[term];
  for (const std::uint32_t term : typeTerms_[model.fields[field].type]) weight += ranking.termWeights[term];
  return weight;
}

}  // namespace zeakit
