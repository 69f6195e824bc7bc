// SPDX-License-Identifier: Apache-2.0
// Of a large database, the tables that a question needs: structure_that_fits URL QUESTION. The rows of the catalog are
// made up here; a host runs the statements of `catalogQueries` over its own connection.
#include <zea/zea_owned.h>
#include <zeakit/focused_memory.h>
#include <zeakit/structure_builder.h>
#include <zeakit/window_memory.h>

#include <iostream>
#include <memory>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  using zeakit::RowKind;
  zeakit::StructureBuilder builder(zeakit::Dialect::PostgreSQL);
  for (int i = 0; i < 1000; ++i) {
    const std::string name = i == 0 ? "orders" : "archive_" + std::to_string(i);
    builder.addRow(RowKind::Relation, {"shop", name, "BASE TABLE", std::nullopt, std::nullopt});
    builder.addRow(RowKind::Column,
                   {"shop", name, "1", "id", "integer", "NO", std::nullopt, std::nullopt, std::nullopt, std::nullopt});
  }
  const zeakit::BuiltStructure built = builder.build();
  for (const std::string& note : built.notes) std::cerr << note << '\n';

  // Each memory around the one before: turns, those of them that go along, the tables that go along.
  const auto first = zea::createAssistant(ZEAAssistantType::OPENAI_v1, "none");
  const zea::Owned<IZEAAssistantMemory> turns(first->releaseMemory());
  zeakit::WindowOptions latest;
  latest.tokens = 32000;
  zeakit::WindowMemory window(*turns, latest);
  zeakit::FitOptions budget;
  budget.budget = 500;
  zeakit::FocusedMemory focused(window, budget);

  const auto assistant = zea::createAssistant(ZEAAssistantType::OPENAI_v1, "none", argv[1], &focused);
  zea::setProperty(*assistant, zea::property::kModel, "standin-large");
  zea::setProperty(*assistant, zea::property::kStructure, built.document);
  const zeakit::Fit fit = focused.focus(argv[2]);
  const zea::Answer answer = zea::ask(*assistant, argv[2]);
  std::cout << fit.tables.size() << " of 1000 tables, " << fit.tokens << " tokens\n" << answer.text << '\n';
  return answer.isAnswered && fit.tokens <= 500 ? 0 : 1;
}
