// SPDX-License-Identifier: Apache-2.0
// Programs that a test runs.
#pragma once

#include <string>
#include <vector>

namespace support {

struct ChildResult {
  int exitCode;  // 128 and the signal's number when a signal ended it
  std::string output;
  std::string error;
};

/// Runs a program to its end: `command` is its path and its arguments, `environment` all that it finds there
/// ("NAME=value"), `input` its standard input, which is a file. Throws `std::system_error` when it cannot be run.
ChildResult runChild(const std::vector<std::string>& command, const std::vector<std::string>& environment = {},
                     const std::string& input = {});

}  // namespace support
