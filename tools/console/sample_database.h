// SPDX-License-Identifier: Apache-2.0
// The sample database: a shop.
#pragma once

#include <string>

namespace console {

/// Creates the database as a new file. Throws `Failure`, and leaves what is there as it is, when the file exists or
/// cannot be written.
void createSampleDatabase(const std::string& file);

/// The SQL script of the sample, made part of the program when it is built.
const char* obtainSampleScript();

}  // namespace console
