// SPDX-License-Identifier: Apache-2.0
// A question and a document to a fit: whatever they hold, the fit parses, is under its budget, and each of its lines
// tells of a table that the whole document has.
#include <zea/zea.h>
#include <zeakit/disclosure.h>
#include <zeakit/structure_index.h>

#include <memory>
#include <set>

#include "check.h"

namespace {

std::set<std::string> namesIn(const zeakit::Fit& fit) {
  std::set<std::string> names;
  for (const auto& table : fit.tables) names.insert(table.name);
  return names;
}

}  // namespace

// Two bytes for the budget, the question up to a line feed, the document.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input = textOf(data, size);
  if (input.size() < 2) return 0;
  const std::size_t end = std::min(input.find('\n', 2), input.size() - 1);
  const std::string question = input.substr(2, end - 2);
  const std::string document = input.substr(end + 1);
  const zeakit::StructureIndex index(document);
  zeakit::FitOptions options;
  options.budget = data[0] * 256U + data[1];
  options.pinned = {question.substr(0, 4)};
  const zeakit::Fit fit = index.fit(question, options);
  check(fit.tokens <= options.budget, "the fit is under its budget");
  const zeakit::StructureIndex again(fit.document);
  check(again.error().empty() && again.size() == fit.tables.size(), "the fit parses");
  options.budget = 1000000000;
  options.pinned.clear();
  const std::set<std::string> all = namesIn(index.fit("", options));
  for (const std::string& name : namesIn(fit)) check(all.count(name) > 0, "the fit is of the document");
  check(all.size() <= index.size(), "the whole is whole");

  zeakit::Disclosure policy;
  policy.hiddenTables = {question + "*"};
  const zeakit::StructureIndex shown(policy.apply(document));
  check(shown.error().empty() && shown.size() <= index.size(), "what is shown parses");
  return 0;
}
