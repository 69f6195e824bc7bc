// SPDX-License-Identifier: Apache-2.0
// The database that is talked about.
#pragma once

#include <zeakit/read_only_runner.h>
#include <zeakit/structure_builder.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "console/console_options.h"

namespace console {

/// A database by its file's name or its URL, as the options name it. Nothing is opened between the operations. Those
/// that fail throw `Failure`.
class Database {
 public:
  explicit Database(const ConsoleOptions& options);

  /// Reads the structure. Tells on standard error what of it cannot be read.
  zeakit::BuiltStructure read();
  /// Reads it again, and returns it if it has become another one. Nothing while reading takes so long that the user
  /// would wait for it with every question; `isReadEachTime` tells.
  std::optional<zeakit::BuiltStructure> readIfChanged();
  bool isReadEachTime() const;

  std::unique_ptr<zeakit::IReadOnlyRunner> openRunner() const;

  /// For a line of text: the name, and how many tables and views were read last.
  std::string describe() const;

 private:
  zeakit::BuiltStructure readTimed();
  void remember(const zeakit::BuiltStructure& structure);

  std::string name_;
  zeakit::StructureOptions filter_;
  std::chrono::milliseconds readingTime_{0};
  zeakit::BuiltStructure last_;
  std::size_t tables_ = 0;
};

}  // namespace console
