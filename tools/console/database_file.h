// The database that a conversation is about.
#pragma once

#include <zeakit/read_only_runner.h>
#include <zeakit/structure_builder.h>

#include <memory>
#include <string>
#include <vector>

namespace console {

/// Reads the structure of an SQLite file, of all tables or those of some patterns, and prints what had to be left out.
/// Nothing is written, to the file or beside it. Throws `Failure` when it can't be read or has no tables.
zeakit::BuiltStructure readDatabaseFile(const std::string& file, const std::vector<std::string>& tables);

/// What runs statements over the file. Throws `Failure` when it can't be opened.
std::unique_ptr<zeakit::IReadOnlyRunner> openRunner(const std::string& file);

}  // namespace console
