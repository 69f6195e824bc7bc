// The database that a conversation is about.
#pragma once

#include <zeakit/read_only_runner.h>
#include <zeakit/structure_builder.h>

#include <memory>
#include <string>
#include <vector>

namespace console {

/// Reads the structure of a database, of all tables or those of some patterns, and prints what had to be left out.
/// `name`: an SQLite file, or a URL that begins with "postgresql://", "mysql://" or "mariadb://". Nothing is written.
/// Throws `Failure` when it can't be read, has no tables, or when the URL holds a password.
zeakit::BuiltStructure readDatabase(const std::string& name, const std::vector<std::string>& tables);

/// What runs statements over the database. Throws `Failure` when there is none.
std::unique_ptr<zeakit::IReadOnlyRunner> openRunner(const std::string& name);

}  // namespace console
