// SPDX-License-Identifier: Apache-2.0
// Of a large database, the tables that a question needs.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zeakit/export.h"

namespace zeakit {

struct FitOptions {
  /// The most tokens that the statements of the fit may take, as `estimateTokens` tells.
  std::size_t budget = 8000;
  /// Patterns, as in `StructureOptions`, of tables that are there whatever the question says.
  std::vector<std::string> pinned;
  /// Full names of tables that the last questions were about; they come right behind the pinned ones.
  std::vector<std::string> recent;
  /// Patterns of the only tables that may be there; empty for all.
  std::vector<std::string> scope;
};

enum class FitDepth {
  Whole,    // all columns and keys
  Slimmed,  // the columns of its primary key, those that the question speaks of, and foreign keys to likely tables
  Named     // its name alone
};

struct FittedTable {
  /// "schema.table", or the name alone where the schema has none.
  std::string name;
  FitDepth depth;
  /// How much speaks for it, from 0 to 1 for the likeliest one.
  double likelihood;
};

struct Fit {
  /// A "db_structure" document: of the whole one, in its order, what the question needs. "[]" when nothing fits.
  std::string document;
  /// In the order of the document.
  std::vector<FittedTable> tables;
  /// What the statements take, as `estimateTokens` tells; never above the budget.
  std::size_t tokens = 0;
  /// A sentence for each pinned table that the budget has no room for, not even for its name.
  std::vector<std::string> notes;
};

/// Made once of a document, asked for every question. Nothing of the document is kept but its names and types, in less
/// than three times its size. Any number of threads may ask at once.
class ZEAKIT_API StructureIndex {
 public:
  /// Reads a "db_structure" document. One that cannot be read is as good as an empty one, and `error` says why.
  /// Elements that the assistant would pass over are left out. Throws nothing but std::bad_alloc.
  explicit StructureIndex(const std::string& document);
  ~StructureIndex();
  StructureIndex(StructureIndex&&) noexcept;
  StructureIndex& operator=(StructureIndex&&) noexcept;

  /// A sentence about what is wrong with the document, or empty.
  [[nodiscard]] const std::string& error() const;
  /// How many tables and views it has.
  [[nodiscard]] std::size_t size() const;

  /// The tables that the question speaks of, by its words, their abbreviations and foreign keys; the likeliest ones
  /// whole, the next ones slimmed, as many as the budget takes. Of tables that differ in digits of their names only,
  /// the likeliest; the others are at most named. What the question says nothing about fills the rest of the budget.
  /// Any bytes will do; of more than 20 kB the beginning counts. Equal questions and options give equal fits.
  [[nodiscard]] Fit fit(std::string_view question, const FitOptions& options = {}) const;

 private:
  struct Content;
  std::unique_ptr<const Content> content_;
};

}  // namespace zeakit
