// SPDX-License-Identifier: Apache-2.0
#include "console/database.h"

#include <zeakit/structure_index.h>
#include <zeamariadb/read_only_runner.h>
#include <zeamariadb/read_structure.h>
#include <zeapostgresql/read_only_runner.h>
#include <zeapostgresql/read_structure.h>
#include <zeasqlite/read_only_runner.h>
#include <zeasqlite/read_structure.h>

#include <utility>

#include "console/console_output.h"
#include "console/database_url.h"
#include "console/failure.h"

namespace console {

namespace {

enum class System { SQLite, PostgreSQL, MariaDB };

/// Throws `Failure` for a URL with a password.
System systemOf(const std::string& name) {
  const std::string scheme = obtainScheme(name);
  if (scheme.empty()) return System::SQLite;
  refusePassword(name);
  if (scheme == "postgresql" || scheme == "postgres") return System::PostgreSQL;
  return scheme == "mysql" || scheme == "mariadb" ? System::MariaDB : System::SQLite;
}

zeamariadb::Address addressOf(const std::string& name) {
  const DatabaseUrl url = readDatabaseUrl(name);
  zeamariadb::Address address;
  address.host = url.host;
  address.port = url.port;
  address.user = url.user;
  address.database = url.database;
  address.socket = url.socket;
  return address;
}

zeakit::ReadResult readFrom(const std::string& name, const zeakit::StructureOptions& filter) {
  switch (systemOf(name)) {
    case System::PostgreSQL:
      return zeapostgresql::readStructure(name, filter);
    case System::MariaDB:
      return zeamariadb::readStructure(addressOf(name), filter);
    case System::SQLite:
      break;
  }
  return zeasqlite::readStructure(name, filter);
}

zeakit::OpenedRunner openRunnerOf(const std::string& name) {
  switch (systemOf(name)) {
    case System::PostgreSQL:
      return zeapostgresql::openReadOnlyRunner(name);
    case System::MariaDB:
      return zeamariadb::openReadOnlyRunner(addressOf(name));
    case System::SQLite:
      break;
  }
  return zeasqlite::openReadOnlyRunner(name);
}

}  // namespace

Database::Database(const ConsoleOptions& options) : name_(options.databaseFile) {
  filter_.includedTables = options.tables;
  filter_.includedSchemas = options.schemas;
}

zeakit::BuiltStructure Database::readTimed() {
  const auto begin = std::chrono::steady_clock::now();
  zeakit::ReadResult result = readFrom(name_, filter_);
  readingTime_ = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
  if (!result.error.empty()) throw Failure(ExitCode::Usage, result.error);
  return std::move(result.structure);
}

zeakit::BuiltStructure Database::read() {
  zeakit::BuiltStructure structure = readTimed();
  for (const std::string& note : structure.notes) printNote(note);
  remember(structure);
  if (tables_ == 0) throw Failure(ExitCode::Usage, name_ + " has no tables or views to talk about.");
  return structure;
}

void Database::remember(const zeakit::BuiltStructure& structure) {
  last_ = structure;
  tables_ = zeakit::StructureIndex(structure.document).size();
}

bool Database::isReadEachTime() const {
  // Less than what a model needs for its first word.
  constexpr std::chrono::milliseconds unnoticed(500);
  return readingTime_ < unnoticed;
}

std::optional<zeakit::BuiltStructure> Database::readIfChanged() {
  if (!isReadEachTime()) return std::nullopt;
  zeakit::BuiltStructure structure = readTimed();
  // The texts of views are in the instructions.
  if (structure.document == last_.document && structure.instructions == last_.instructions) return std::nullopt;
  remember(structure);
  return structure;
}

std::unique_ptr<zeakit::IReadOnlyRunner> Database::openRunner() const {
  zeakit::OpenedRunner opened = openRunnerOf(name_);
  if (!opened.error.empty()) throw Failure(ExitCode::Usage, opened.error);
  return std::move(opened.runner);
}

std::string Database::describe() const {
  return name_ + " (" + std::to_string(tables_) + (tables_ == 1 ? " table)" : " tables and views)");
}

}  // namespace console
