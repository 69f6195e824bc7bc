// SPDX-License-Identifier: Apache-2.0
#include "question.h"

#include <qx/internal/json_view.h>
#include <sys/resource.h>

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "structure_document.h"

namespace {

// What a document holds beside the names and types that are rendered makes it this many times as long, and a little.
constexpr std::size_t kDocumentBytesPerPromptByte = 7;

std::string render(const std::string& document) {
  const Assistant assistant = createAssistant("", nullptr);
  std::string prompt;
  assistant->updateProperties([&](IZEAProperties* properties) {
    if (!properties->setValue("db_structure", document)) std::abort();
    prompt = *properties->obtainValue("combined_instructions").stringIfAny();
  });
  return prompt;
}

void addMessage(COJsonValue& messages, const char* role, qx::KeptText content) {
  COJsonValue* const item = messages.addArrayItem();
  item->addKeyValue("role")->setStringValue(role);
  qx::setStringView(*item->addKeyValue("content"), content);
}

}  // namespace

Assistant createAssistant(const std::string& url, IZEAAssistantMemory* memory, const std::string& key) {
  Assistant assistant(ZEACreateAssistant(ZEAAssistantType::OPENAI_v1, QX::createHTTPPoolCenter(), key, url, memory));
  setProperty(*assistant, "model", "m");
  return assistant;
}

void setProperty(IZEAAssistant& assistant, const char* name, const std::string& value) {
  assistant.updateProperties([&](IZEAProperties* properties) {
    if (!properties->setValue(name, value)) std::abort();
  });
}

std::string ask(IZEAAssistant& assistant) {
  auto [reply, failure] = assistant.addMessage(kQuestion);
  ZEAFreeObject(reply);
  return std::move(failure);
}

bool isRead(const std::string& reply) {
  const COJson json(reply);
  return json.obtainKeyValue("choices") != nullptr;
}

std::string promptOf(std::size_t bytes) {
  std::string prompt = render(createStructureDocument(kDocumentBytesPerPromptByte * bytes));
  prompt.resize(prompt.rfind('\n', bytes - 1) + 1);
  return prompt;
}

std::string bodyOf(const std::string& prompt, const std::vector<ZEAAssistantMemoryEntry>& turns) {
  COJson body;
  body.addKeyValue("model")->setStringValue("m");
  COJsonValue* const messages = body.addKeyValue("messages");
  // The library sets the user's instructions apart from what follows them.
  const std::string instructions = prompt.empty() ? prompt : prompt + "\n\n";
  if (!instructions.empty()) addMessage(*messages, "developer", instructions);
  for (const ZEAAssistantMemoryEntry& turn : turns) {
    addMessage(*messages, turn.role == ZEARoleAssistant ? "assistant" : "user", turn.text);
  }
  const std::string question = kQuestion;
  addMessage(*messages, "user", question);
  return body.obtainJsonString();
}

void allowManyFiles() {
  rlimit files{};
  if (getrlimit(RLIMIT_NOFILE, &files) != 0) throw std::runtime_error("no limit of open files");
  files.rlim_cur = files.rlim_max;
  if (setrlimit(RLIMIT_NOFILE, &files) != 0) throw std::runtime_error("the limit of open files stays");
}

std::string replyOf(const std::string& body) {
  return "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\n\r\n" + body;
}

Peer::Peer(bool isSecure, const std::string& reply)
    : identity_(authority_.issue("IP:127.0.0.1")), server_(replyOf(reply), isSecure ? &identity_ : nullptr) {
  CMRestGlobalSettings settings;
  settings.caFile = caFile();
  settings.userAgent = kUserAgent;
  ZEASetHTTPSettings(settings);
}
