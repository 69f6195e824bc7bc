#include "console/provider.h"

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <fstream>

#include "console/failure.h"
#include "console/hidden_input.h"

namespace console {

namespace {

std::vector<Provider> obtainProviders() {
  using Type = ZEAAssistantType;
  return {
      {.option = "openai", .name = "OPENAI", .type = Type::OPENAI_v1, .keyVariables = {"OPENAI_API_KEY"}},
      {.option = "google",
       .name = "GOOGLE",
       .type = Type::GOOGLE,
       .keyVariables = {"GEMINI_API_KEY", "GOOGLE_API_KEY"}},
      {.option = "deepseek", .name = "DEEPSEEK", .type = Type::DEEPSEEK, .keyVariables = {"DEEPSEEK_API_KEY"}},
      {.option = "ollama", .name = "OLLAMA", .type = Type::OLLAMA, .keyVariables = {}, .needsModel = false},
      {.option = "x", .name = "X", .type = Type::X, .keyVariables = {"XAI_API_KEY"}},
      {.option = "anthropic",
       .name = "ANTHROPIC",
       .type = Type::ANTHROPIC,
       .keyVariables = {"ANTHROPIC_API_KEY"},
       .takesMaxTokens = true},
      {.option = "alibaba", .name = "ALIBABA", .type = Type::ALIBABA, .keyVariables = {"DASHSCOPE_API_KEY"}},
      {.option = "bytedance",
       .name = "BYTEDANCE",
       .type = Type::BYTEDANCE,
       .keyVariables = {"ARK_API_KEY"},
       .listsModels = false},
      {.option = "moonshot", .name = "MOONSHOT", .type = Type::MOONSHOT, .keyVariables = {"MOONSHOT_API_KEY"}},
  };
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
