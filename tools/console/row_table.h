// Rows for people.
#pragma once

#include <zeakit/read_only_runner.h>

#include <string>

namespace console {

/// A line for the columns' names, one for each row, aligned by characters. Line ends
/// in values are shown as spaces, binary ones by their length.
std::string writeTable(const zeakit::StatementResult& result);

}  // namespace console
