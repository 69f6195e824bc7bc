// SPDX-License-Identifier: Apache-2.0
// Which tables a question is about, by the words of both.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "structure_model.h"

struct sb_stemmer;

namespace zeakit {

/// Stems words. For one thread.
class Stemmer {
 public:
  Stemmer();
  ~Stemmer();
  Stemmer(const Stemmer&) = delete;
  Stemmer& operator=(const Stemmer&) = delete;
  /// Borrowed, until the next call.
  std::string_view stem(std::string_view word) const;

 private:
  sb_stemmer* stemmer_;
};

/// A question's judgement of all relations.
struct Ranking {
  /// By relation; 0 where nothing speaks for it.
  std::vector<float> scores;
  /// By term: how well it is what the question says, 0 to 1.
  std::vector<float> termWeights;
};

class StructureRanking {
 public:
  explicit StructureRanking(const StructureModel& model);

  Ranking rank(const StructureModel& model, std::string_view question) const;

  /// How well a column is what the question says.
  float weightOf(const StructureModel& model, const Ranking& ranking, std::uint32_t field) const;

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
  };
  template <class Value>
  using Map = std::unordered_map<std::string, Value, Hash, std::equal_to<>>;

  struct Match {
    std::uint32_t term;
    float quality;
  };
  struct QuestionWord {
    std::string word, stem;
    std::vector<Match> matches;
  };

  void indexRelations(const StructureModel& model);
  void linkRelations(const StructureModel& model);
  std::vector<QuestionWord> readQuestion(std::string_view question) const;
  void addMatches(QuestionWord& word) const;

  std::vector<std::string> terms_;
  Map<std::uint32_t> termIds_;
  /// Terms in the order of their letters, and of their letters from the last to the first.
  std::vector<std::uint32_t> byStart_, byEnd_;
  /// For each term a run of relations, each with a place in its lowest bits.
  std::vector<std::uint32_t> postingStarts_, postings_;
  /// The terms of names of columns, one run for each name, and of types.
  std::vector<std::vector<std::uint32_t>> columnTerms_, typeTerms_;
  /// For each column its place in columnTerms_.
  std::vector<std::uint32_t> columnNames_;
  /// How many words the name of a relation has.
  std::vector<std::uint32_t> nameLengths_;
  /// For each relation the ones that it refers to and that refer to it.
  std::vector<std::uint32_t> neighbourStarts_, neighbours_;
};

}  // namespace zeakit
