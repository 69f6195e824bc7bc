#include "console/provider.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>

#include "console/failure.h"
#include "console/hidden_input.h"

namespace console {

namespace {

std::vector<Provider> obtainProviders() {
  return {
      {"openai", "OPENAI", ZEAAssistantType::OPENAI_v1, {"OPENAI_API_KEY"}, true},
      {"google", "GOOGLE", ZEAAssistantType::GOOGLE, {"GEMINI_API_KEY", "GOOGLE_API_KEY"}, true},
      {"deepseek", "DEEPSEEK", ZEAAssistantType::DEEPSEEK, {"DEEPSEEK_API_KEY"}, true},
      {"ollama", "OLLAMA", ZEAAssistantType::OLLAMA, {}, false},
      {"x", "X", ZEAAssistantType::X, {"XAI_API_KEY"}, true},
      {"anthropic", "ANTHROPIC", ZEAAssistantType::ANTHROPIC, {"ANTHROPIC_API_KEY"}, true},
      {"alibaba", "ALIBABA", ZEAAssistantType::ALIBABA, {"DASHSCOPE_API_KEY"}, true},
      {"bytedance", "BYTEDANCE", ZEAAssistantType::BYTEDANCE, {"ARK_API_KEY"}, true},
      {"moonshot", "MOONSHOT", ZEAAssistantType::MOONSHOT, {"MOONSHOT_API_KEY"}, true},
  };
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

std::string obtainKey(const Provider& provider, const std::string& keyFile) {
  if (!keyFile.empty()) return readKeyFile(keyFile);
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
                                     provider.keyVariables.front() + ", or name a file that holds it with --key-file.");
}

}  // namespace console
