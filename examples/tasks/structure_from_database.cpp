// SPDX-License-Identifier: Apache-2.0
// The structure that a driver reads, and the rows of the statement that comes back, here of an SQLite file:
// structure_from_database FILE QUESTION URL. Those for PostgreSQL and MariaDB have the same functions.
#include <zea/zea_owned.h>
#include <zeakit/reply_parts.h>
#include <zeasqlite/read_only_runner.h>
#include <zeasqlite/read_structure.h>

#include <iostream>

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  const zeakit::ReadResult read = zeasqlite::readStructure(argv[1]);
  const zeakit::OpenedRunner opened = zeasqlite::openReadOnlyRunner(argv[1]);
  if (!opened.runner || !read.error.empty()) {
    std::cerr << read.error << opened.error << '\n';
    return 1;
  }
  CMVariantMap instructions;
  for (const auto& [name, text] : read.structure.instructions) instructions.emplace(name, text);
  const auto assistant = zea::createAssistant(ZEAAssistantType::OPENAI_v1, "none", argv[3]);
  zea::setProperty(*assistant, zea::property::kModel, "standin-large");
  zea::setProperty(*assistant, zea::property::kStructure, read.structure.document);
  zea::setProperty(*assistant, zea::property::kSystemInstructions, std::move(instructions));

  const zea::Answer answer = zea::ask(*assistant, argv[2]);
  std::cout << answer.text << answer.failure << '\n';
  // Only what reads is run; rows never go to the provider.
  const zeakit::StatementResult result = opened.runner->run(zeakit::firstStatement(answer.text));
  for (const auto& row : result.rows) {
    for (const zeakit::ResultCell& cell : row) std::cout << (cell.isNull ? "NULL" : cell.value) << " | ";
    std::cout << '\n';
  }
  std::cerr << result.error;
  return result.error.empty() ? 0 : 1;
}
