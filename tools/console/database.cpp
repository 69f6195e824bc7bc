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

zeakit::BuiltStructure readDatabase(const std::string& name, const std::vector<std::string>& tables) {
  zeakit::StructureOptions filter;
  filter.includedTables = tables;
  zeakit::ReadResult result = readFrom(name, filter);
  if (!result.error.empty()) throw Failure(ExitCode::Usage, result.error);
  for (const std::string& note : result.structure.notes) printNote(note);
  if (zeakit::StructureIndex(result.structure.document).size() == 0) {
    throw Failure(ExitCode::Usage, name + " has no tables or views to talk about.");
  }
  return std::move(result.structure);
}

std::unique_ptr<zeakit::IReadOnlyRunner> openRunner(const std::string& name) {
  zeakit::OpenedRunner opened = openRunnerOf(name);
  if (!opened.error.empty()) throw Failure(ExitCode::Usage, opened.error);
  return std::move(opened.runner);
}

}  // namespace console
