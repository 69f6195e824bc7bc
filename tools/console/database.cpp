#include "console/database.h"

#include <zeakit/structure_index.h>
#include <zeasqlite/read_only_runner.h>
#include <zeasqlite/read_structure.h>
#ifdef ZEA_HAS_POSTGRESQL
#include <zeapostgresql/read_only_runner.h>
#include <zeapostgresql/read_structure.h>
#endif
#ifdef ZEA_HAS_MARIADB
#include <zeamariadb/read_only_runner.h>
#include <zeamariadb/read_structure.h>
#endif

#include <utility>

#include "console/console_output.h"
#include "console/database_url.h"
#include "console/failure.h"

namespace console {

namespace {

enum class System { SQLite, PostgreSQL, MariaDB };

System systemOf(const std::string& name) {
  const std::string scheme = obtainScheme(name);
  if (scheme == "postgresql" || scheme == "postgres") return System::PostgreSQL;
  return scheme == "mysql" || scheme == "mariadb" ? System::MariaDB : System::SQLite;
}

#ifdef ZEA_HAS_MARIADB
zeamariadb::Address addressOf(const DatabaseUrl& url) {
  zeamariadb::Address address;
  address.host = url.host;
  address.port = url.port;
  address.user = url.user;
  address.database = url.database;
  address.socket = url.socket;
  return address;
}
#endif

[[noreturn, maybe_unused]] void refuse(const char* system) {
  throw Failure(ExitCode::Usage, std::string("This zea was built without ").append(system).append("."));
}

zeakit::ReadResult readFrom(const std::string& name, const zeakit::StructureOptions& filter) {
  const System system = systemOf(name);
  if (system == System::SQLite) return zeasqlite::readStructure(name, filter);
  const DatabaseUrl url = readDatabaseUrl(name);  // which refuses a password
  if (system == System::PostgreSQL) {
#ifdef ZEA_HAS_POSTGRESQL
    return zeapostgresql::readStructure(name, filter);
#else
    refuse("PostgreSQL");
#endif
  }
#ifdef ZEA_HAS_MARIADB
  return zeamariadb::readStructure(addressOf(url), filter);
#else
  refuse("MariaDB");
#endif
}

zeakit::OpenedRunner openRunnerOf(const std::string& name) {
  const System system = systemOf(name);
  if (system == System::SQLite) return zeasqlite::openReadOnlyRunner(name);
  const DatabaseUrl url = readDatabaseUrl(name);
  if (system == System::PostgreSQL) {
#ifdef ZEA_HAS_POSTGRESQL
    return zeapostgresql::openReadOnlyRunner(name);
#else
    refuse("PostgreSQL");
#endif
  }
#ifdef ZEA_HAS_MARIADB
  return zeamariadb::openReadOnlyRunner(addressOf(url));
#else
  refuse("MariaDB");
#endif
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
