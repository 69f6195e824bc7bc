// SPDX-License-Identifier: Apache-2.0
// All providers as rows of a table, and a conversation with one of them over a real loopback socket.
#pragma once

#include <gtest/gtest.h>
#include <zea/zea_owned.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "standin/zea_standin.h"

using zea::Owned;

struct Provider {
  const char* name;
  ZEAAssistantType type;
  const char* defaultHost;    // with its scheme, as "api_host" shows it
  const char* endpoint;       // after the host, of `obtainEndpointURL`
  const char* chatTarget;     // as sent, for the model "m" and the key "k"
  const char* chatLocation;   // after the library's own texts
  const char* listingTarget;  // null: no listing
  const char* listingLocation;
  const char* keyHeader;  // the header that holds the key; null: none
  double hottest;         // what the temperature 2.5 becomes
  const char* answer;     // a body whose reply is "fine"
};

inline std::ostream& operator<<(std::ostream& out, const Provider& provider) { return out << provider.name; }

/// The name of a parameterised test.
inline std::string nameOf(const testing::TestParamInfo<Provider>& row) { return row.param.name; }

constexpr char kChoice[] = R"({"choices":[{"message":{"role":"assistant","content":"fine"}}]})";

inline const Provider kProviders[] = {
    {"OPENAI_v1", ZEAAssistantType::OPENAI_v1, "https://api.openai.com", "/v1/chat/completions", "/v1/chat/completions",
     ": p/v1/chat/completions", "/v1/models", ": g/v1/models", "Authorization", 2.0, kChoice},
    {"GOOGLE", ZEAAssistantType::GOOGLE, "https://generativelanguage.googleapis.com",
     "/v1beta/models/[model]:generateContent", "/v1beta/models/m:generateContent?key=k",
     ": p/v1beta/models/m:generateContent", "/v1beta/models?key=k", ": g/v1beta/models", nullptr, 2.0,
     R"({"candidates":[{"content":{"role":"model","parts":[{"text":"fine"}]}}]})"},
    {"DEEPSEEK", ZEAAssistantType::DEEPSEEK, "https://api.deepseek.com", "/chat/completions", "/chat/completions",
     ": p/chat/completions", "/models", ": g/models", "Authorization", 2.0, kChoice},
    {"OLLAMA", ZEAAssistantType::OLLAMA, "http://localhost:11434", "/api/chat", "/api/chat", ": p/api/chat",
     "/api/tags", ": g/api/tags", nullptr, 2.0, R"({"message":{"role":"assistant","content":"fine"}})"},
    {"X", ZEAAssistantType::X, "https://api.x.ai", "/v1/chat/completions", "/v1/chat/completions",
     ": p/v1/chat/completions", "/v1/models", ": g/v1/models", "Authorization", 1.0, kChoice},
    {"ANTHROPIC", ZEAAssistantType::ANTHROPIC, "https://api.anthropic.com", "/v1/messages", "/v1/messages",
     ": p/v1/messages", "/v1/models", ": g/v1/models", "x-api-key", 1.0,
     R"({"content":[{"type":"text","text":"fine"}]})"},
    {"ALIBABA", ZEAAssistantType::ALIBABA, "https://dashscope-intl.aliyuncs.com", "/compatible-mode/v1/models",
     "/compatible-mode/v1/chat/completions", ": p/compatible-mode/v1/chat/completions", "/compatible-mode/v1/models",
     ": g/compatible-mode/v1/models", "Authorization", 1.99, kChoice},
    {"BYTEDANCE", ZEAAssistantType::BYTEDANCE, "https://ark.cn-beijing.volces.com", "/api/v3/chat/completions",
     "/api/v3/chat/completions", ": p/api/v3/chat/completions", nullptr, nullptr, "Authorization", 2.0, kChoice},
    {"MOONSHOT", ZEAAssistantType::MOONSHOT, "https://api.moonshot.ai", "/v1/chat/completions", "/v1/chat/completions",
     ": p/v1/chat/completions", "/v1/models", ": g/v1/models", "Authorization", 2.0, kChoice},
};

inline Owned<IZEAAssistant> newAssistant(ZEAAssistantType type, const std::string& key, const std::string& host,
                                         IZEAAssistantMemory* memory = nullptr) {
  return Owned<IZEAAssistant>(ZEACreateAssistant(type, QX::createHTTPPoolCenter(), key, host, memory));
}

inline void set(IZEAAssistant& assistant, const std::string& key, const CMVariant& value) {
  assistant.updateProperties([&](IZEAProperties* properties) {
    static_cast<void>(properties->setValue(key, value));  // some tests set what is refused
  });
}

inline CMVariant get(const IZEAAssistant& assistant, const std::string& key) {
  return Owned<IZEAProperties>(assistant.obtainProperties())->obtainValue(key);
}

/// A stand-in, and an assistant that talks to it with the key "k" and the model "m".
class Conversation {
 public:
  explicit Conversation(const Provider& row) : provider(row), assistant(newAssistant(row.type, "k", server.url())) {
    set(*assistant, "model", "m");
  }

  /// Asks, with that answer on the wire; returns the reply's text, or the failure after "failed: ".
  std::string ask(const std::string& question, standin::Reply reply) {
    server.enqueue(std::move(reply));
    return ask(question);
  }
  std::string ask(const std::string& question) {
    const auto [message, failure] = assistant->addMessage(question);
    const Owned<IZEAMessage> owned(message);
    if (message == nullptr) return "failed: " + failure;
    return std::string(message->obtainSections().at(0)->obtainSectionText()) + failure;
  }
  /// A question that is answered with "fine".
  std::string askWell(const std::string& question) { return ask(question, {200, provider.answer}); }

  std::string lastBody() const { return server.requests().back().body; }

  const Provider& provider;
  standin::Server server;
  Owned<IZEAAssistant> assistant;
};
