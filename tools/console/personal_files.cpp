// SPDX-License-Identifier: Apache-2.0
#include "console/personal_files.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace console {

namespace {

namespace fs = std::filesystem;

/// A relative path in the variable is to be ignored, as the rules say.
std::string folderOf(const char* variable, const char* belowHome) {
  const char* const named = std::getenv(variable);
  if (named != nullptr && *named == '/') return fs::path(named) / "zea";
  const char* const home = std::getenv("HOME");
  if (home == nullptr || *home == '\0') return {};
  return fs::path(home) / belowHome / "zea";
}

}  // namespace

std::string obtainConfigFolder() { return folderOf("XDG_CONFIG_HOME", ".config"); }
std::string obtainDataFolder() { return folderOf("XDG_DATA_HOME", ".local/share"); }
std::string obtainStateFolder() { return folderOf("XDG_STATE_HOME", ".local/state"); }

std::string makeFolder(const std::string& folder) {
  std::error_code failure;
  if (fs::is_directory(folder, failure)) return {};
  fs::create_directories(folder, failure);
  if (!failure) fs::permissions(folder, fs::perms::owner_all, failure);
  return failure ? folder + " cannot be made: " + failure.message() + "." : "";
}

}  // namespace console
