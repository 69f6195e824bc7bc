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
  std::vector<const char*>
      keyVariables;  // environment variables with its key, the first that is set counts; none: no key
  bool needsModel;
};

/// The provider of that name, its case ignored. Throws `Failure`, with the names that there are, for any other.
Provider findProvider(const std::string& name);

/// The names for "--help": "openai, google, ...".
std::string listProviders();

/// The key for `provider`: from the first line of `keyFile` when that is not empty, else from its environment
/// variable, else typed without echo when standard input is a terminal. Empty for a provider without keys. Throws
/// `Failure` when there is none.
std::string obtainKey(const Provider& provider, const std::string& keyFile);

}  // namespace console
