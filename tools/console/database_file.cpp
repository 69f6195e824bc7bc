#include "console/database_file.h"

#include <zeakit/structure_index.h>
#include <zeasqlite/read_only_runner.h>
#include <zeasqlite/read_structure.h>

#include <utility>

#include "console/console_output.h"
#include "console/failure.h"

namespace console {

zeakit::BuiltStructure readDatabaseFile(const std::string& file, const std::vector<std::string>& tables) {
  zeakit::StructureOptions filter;
  filter.includedTables = tables;
  zeakit::ReadResult result = zeasqlite::readStructure(file, filter);
  if (!result.error.empty()) throw Failure(ExitCode::Usage, result.error);
  for (const std::string& note : result.structure.notes) printNote(note);
  if (zeakit::StructureIndex(result.structure.document).size() == 0) {
    throw Failure(ExitCode::Usage, file + " has no tables or views to talk about.");
  }
  return std::move(result.structure);
}

std::unique_ptr<zeakit::IReadOnlyRunner> openRunner(const std::string& file) {
  zeakit::OpenedRunner opened = zeasqlite::openReadOnlyRunner(file);
  if (!opened.error.empty()) throw Failure(ExitCode::Usage, opened.error);
  return std::move(opened.runner);
}

}  // namespace console
