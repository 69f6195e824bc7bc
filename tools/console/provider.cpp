// SPDX-License-Identifier: Apache-2.0
#include "console/provider.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <utility>

#include "console/failure.h"
#include "console/hidden_input.h"

namespace console {

namespace {

// Longer than any provider's; a file of another kind is longer still.
constexpr std::size_t kLongestKey = 4096;

/// Nothing for a number after the last provider. There is no default, so the compiler tells of a provider that is
/// missing.
std::optional<Provider> describe(ZEAAssistantType type) {
  using Type = ZEAAssistantType;
  switch (type) {
    case Type::OPENAI_v1:
      return Provider{.option = "openai", .name = "OPENAI", .type = type, .keyVariables = {"OPENAI_API_KEY"}};
    case Type::GOOGLE:
      return Provider{.option = "google",
                      .name = "GOOGLE",
                      .type = type,
                      .keyVariables = {"GEMINI_API_KEY", "GOOGLE_API_KEY"},
                      .modelsOfPage = 50};
    case Type::DEEPSEEK:
      return Provider{.option = "deepseek", .name = "DEEPSEEK", .type = type, .keyVariables = {"DEEPSEEK_API_KEY"}};
    case Type::OLLAMA:
      return Provider{.option = "ollama", .name = "OLLAMA", .type = type, .keyVariables = {}};
    case Type::X:
      return Provider{.option = "x", .name = "X", .type = type, .keyVariables = {"XAI_API_KEY"}};
    case Type::ANTHROPIC:
      return Provider{.option = "anthropic",
                      .name = "ANTHROPIC",
                      .type = type,
                      .keyVariables = {"ANTHROPIC_API_KEY"},
                      .modelsOfPage = 20,
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
ProviderKey readKeyFile(const std::string& file) {
  const auto fail = [](const char* why) -> Failure {
    return {ExitCode::Usage, std::string("The file that --key-file names ") + why};
  };
  // A pipe that nobody writes into would hold the opening for ever.
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) throw fail("cannot be read.");
  const CODefer close([descriptor] { ::close(descriptor); });
  std::string text;
  while (text.find('\n') == text.npos && text.size() <= kLongestKey) {
    char part[1024];
    const ssize_t count = ::read(descriptor, part, sizeof(part));
    if (count == 0) break;
    if (count > 0) {
      text.append(part, static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      pollfd input{descriptor, POLLIN, 0};
      static_cast<void>(::poll(&input, 1, -1));  // its writer is there, and may have to ask for a password first
    } else if (errno != EINTR) {
      throw fail("cannot be read.");
    }
  }
  const std::string key = qxTrimAsString(text.substr(0, text.find('\n')));
  if (key.empty()) throw fail("has no key in its first line.");
  if (key.size() > kLongestKey) throw fail("holds more in its first line than a key is long.");
  return {key, "the file of --key-file"};
}

ProviderKey obtainKey(const Provider& provider) {
  if (provider.keyVariables.empty()) return {};
  for (const char* variable : provider.keyVariables) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return {qxTrimAsString(value), variable};
  }
  const std::string name(provider.name);
  if (::isatty(STDIN_FILENO) == 1) {
    std::string key = qxTrimAsString(readHiddenLine("Key for " + name + ": "));
    if (!key.empty()) return {std::move(key), "what was typed"};
  }
  throw Failure(ExitCode::Usage, "There is no key for " + name + ": set the environment variable " +
                                     provider.keyVariables.front() + ", or start with --provider " +
                                     std::string(provider.option) + " and a file that holds it behind --key-file.");
}

}  // namespace console
