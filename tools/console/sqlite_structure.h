// Reads what an SQLite database is made of.
#pragma once

#include <string>

#include "console/database_structure.h"

namespace console {

/// The tables and views of a database file, in the order of their creation, without those that SQLite keeps for itself.
/// The file is opened for reading only. A view that SQLite cannot resolve comes without columns. Throws `Failure` with
/// the reason when the file is missing, is no database, cannot be read, or has neither tables nor views.
DatabaseStructure readSqliteStructure(const std::string& file);

}  // namespace console
