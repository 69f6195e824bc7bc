// SPDX-License-Identifier: Apache-2.0
// How the program ends.
#pragma once

#include <stdexcept>
#include <string>

namespace console {

/// The exit codes, as `--help` tells them.
enum class ExitCode : int {
  Success = 0,
  Refused = 1,    // the provider refused, or its answer could not be used
  Usage = 2,      // the command line, or what it names, cannot be used
  Transport = 3,  // the provider could not be reached, or the connection broke
  Blank = 4,      // the model answered with nothing
};

/// What ends a command, or in a chat one question: a sentence for the user and the exit code that belongs to it.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& sentence) : std::runtime_error(sentence), code_(code) {}
  ExitCode code() const noexcept { return code_; }

 private:
  ExitCode code_;
};

}  // namespace console
