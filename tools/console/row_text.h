// SPDX-License-Identifier: Apache-2.0
// Rows for people, and for other programs.
#pragma once

#include <zeakit/read_only_runner.h>

#include <string>

namespace console {

/// A line for the columns' names, one for each row, aligned by characters. Line ends
/// in values are shown as spaces, binary ones by their length.
std::string writeTable(const zeakit::StatementResult& result);

/// Comma-separated values (RFC 4180) with the columns' names first. NULL is an empty field, an empty text a quoted one;
/// bytes of a binary value are written in hexadecimal.
std::string writeCsv(const zeakit::StatementResult& result);

/// A JSON array with an object for each row. Numbers of numeric columns are numbers, where a JSON number holds them
/// unchanged; NULL is null, bytes of a binary value are written in hexadecimal, all else are texts. Members keep the
/// order of the columns, and columns of the same name are members of the same name.
std::string writeJson(const zeakit::StatementResult& result);

}  // namespace console
