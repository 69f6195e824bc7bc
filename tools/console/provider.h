// SPDX-License-Identifier: Apache-2.0
// The providers, as the command line names them.
#pragma once

#include <zea/zea.h>

#include <string>
#include <string_view>
#include <vector>

namespace console {

/// A provider: a plain value. The views are good for the life of the process.
struct Provider {
  std::string_view option;  // as "--provider" takes it, in lower case
  std::string_view name;    // as texts show it
  ZEAAssistantType type;
  std::vector<const char*> keyVariables;  // of the environment; the first that is set counts; none: no key
  bool listsModels = true;
  std::size_t modelsOfPage = 0;  // how many models the listing shows of more; 0: all there are
  bool takesMaxTokens = false;
};

/// The provider of that name, its case ignored. Throws `Failure`, with the names that there are, for any other.
Provider findProvider(const std::string& name);

/// The names for "--help": "openai, google, ...".
std::string listProviders();

/// The environment variables for "--help", a line for each provider that takes a key.
std::string listKeyVariables();

/// A key, and in words where it came from.
struct ProviderKey {
  std::string text;
  std::string origin;
};

/// The first line of a file, which may be a pipe. Throws `Failure` when it cannot be read or holds no key.
ProviderKey readKeyFile(const std::string& file);

/// The key for `provider`: from its environment variable, else typed without echo when standard input is a terminal.
/// Empty for a provider without keys. Throws `Failure` when there is none.
ProviderKey obtainKey(const Provider& provider);

}  // namespace console
