#include "console/provider.h"

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <optional>

#include "console/failure.h"
#include "console/hidden_input.h"

namespace console {

namespace {

/// Nothing for a number after the last provider. There is no default, so the compiler tells of a provider that is
/// missing.
std::optional<Provider> describe(ZEAAssistantType type) {
  using Type = ZEAAssistantType;
  switch (type) {
    case Type::OPENAI_v1:
      return Provider{.option = "openai", .name = "OPENAI", .type = type, .keyVariables = {"OPENAI_API_KEY"}};
    case Type::GOOGLE:
      return Provider{
          .option = "google", .name = "GOOGLE", .type = type, .keyVariables = {"GEMINI_API_KEY", "GOOGLE_API_KEY"}};
    case Type::DEEPSEEK:
      return Provider{.option = "deepseek", .name = "DEEPSEEK", .type = type, .keyVariables = {"DEEPSEEK_API_KEY"}};
    case Type::OLLAMA:
      return Provider{.option = "ollama", .name = "OLLAMA", .type = type, .keyVariables = {}, .needsModel = false};
    case Type::X:
      return Provider{.option = "x", .name = "X", .type = type, .keyVariables = {"XAI_API_KEY"}};
    case Type::ANTHROPIC:
      return Provider{.option = "anthropic",
                      .name = "ANTHROPIC",
                      .type = type,
                      .keyVariables = {"ANTHROPIC_API_KEY"},
                      .takesMaxTokens = true};
    case Type::ALIBABA:
      return Provider{.option = "alibaba", .name = "ALIBABA", .type = type, .keyVariables = {"DASHSCOPE_API_KEY"}};
    case Type::BYTEDANCE:
      return Provider{.option = "bytedance",
                      .name = "BYTEDANCE",
                      .type = type,
                      .keyVariables = {"ARK_API_KEY"},
                      .listsModels = false};
    case Type::MOONSHOT:
      return Provider{.option = "moonshot", .name = "MOONSHOT", .type = type, .keyVariables = {"MOONSHOT_API_KEY"}};
  }
  return std::nullopt;
}

/// All of them, in the order of their numbers.
std::vector<Provider> obtainProviders() {
  std::vector<Provider> providers;
  while (auto provider = describe(static_cast<ZEAAssistantType>(providers.size()))) providers.push_back(*provider);
  return providers;
}

}  // namespace

Provider findProvider(const std::string& name) {
  std::string lower = name;
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (Provider& provider : obtainProviders()) {
    if (provider.option == lower) return provider;
  }
  throw Failure(ExitCode::Usage, "There is no provider " + name + ". Known are " + listProviders() + ".");
}

std::string listProviders() {
  std::string list;
  for (const Provider& provider : obtainProviders()) {
    list += (list.empty() ? "" : ", ") + std::string(provider.option);
  }
  return list;
}

std::string listKeyVariables() {
  std::string lines;
  for (const Provider& provider : obtainProviders()) {
    std::string names;
    for (const char* variable : provider.keyVariables) names += (names.empty() ? " " : " or ") + std::string(variable);
    if (!names.empty()) lines += "  " + std::string(provider.option) + ":" + names + "\n";
  }
  return lines;
}

// The file's name is in no sentence: who has put the key itself behind "--key-file" must not read it on the screen.
std::string readKeyFile(const std::string& file) {
  std::ifstream stream(file);
  std::string line;
  if (!stream || (!std::getline(stream, line) && !stream.eof())) {
    throw Failure(ExitCode::Usage, "The file that --key-file names cannot be read.");
  }
  std::string key = qxTrimAsString(line);
  if (key.empty()) throw Failure(ExitCode::Usage, "The file that --key-file names has no key in its first line.");
  return key;
}

std::string obtainKey(const Provider& provider) {
  if (provider.keyVariables.empty()) return {};
  for (const char* variable : provider.keyVariables) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return qxTrimAsString(value);
  }
  const std::string name(provider.name);
  if (::isatty(STDIN_FILENO) == 1) {
    std::string key = qxTrimAsString(readHiddenLine("Key for " + name + ": "));
    if (!key.empty()) return key;
  }
  throw Failure(ExitCode::Usage, "There is no key for " + name + ": set the environment variable " +
                                     provider.keyVariables.front() + ", or start with --provider " +
                                     std::string(provider.option) + " and a file that holds it behind --key-file.");
}

}  // namespace console
