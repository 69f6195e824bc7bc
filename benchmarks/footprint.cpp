// SPDX-License-Identifier: Apache-2.0
// What the library keeps in memory, as lines of "name,bytes,baseline_bytes": the peak of a question with a large
// structure document, against the document; and what an idle assistant holds, before and after a question, against a
// fixed size and nothing. Each is measured in a process of its own, so that peaks don't mix, and the server is in
// another.
#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "forked_process.h"
#include "loopback/answering_server.h"
#include "question.h"
#include "structure_document.h"

namespace {

constexpr std::size_t kDocumentBytes = 10'000'000;
constexpr std::size_t kIdleAssistants = 10'000;
constexpr std::size_t kAskingAssistants = 1'000;
constexpr std::int64_t kIdleBaseline = 8192;

/// A size that the system tells of this process.
std::int64_t obtainBytes(const std::string& field) {
  std::ifstream status("/proc/self/status");
  for (std::string name; status >> name; status.ignore(256, '\n')) {
    std::int64_t kilobytes = 0;
    if (name == field && status >> kilobytes) return kilobytes * 1024;
  }
  throw std::runtime_error("the system doesn't tell " + field);
}

std::int64_t obtainResident() { return obtainBytes("VmRSS:"); }
std::int64_t obtainPeak() { return obtainBytes("VmHWM:"); }

void beginNewPeak() {
  std::ofstream file("/proc/self/clear_refs");
  if (!(file << 5 << std::flush)) throw std::runtime_error("the system doesn't begin a new peak");
}

void askOnce(IZEAAssistant& assistant) {
  if (const std::string failure = ask(assistant); !failure.empty()) throw std::runtime_error(failure);
}

/// As long as keys are.
std::string keyOf(std::size_t number) { return std::string(48, 'k') + std::to_string(number); }

std::vector<Assistant> createAssistants(const std::string& url, std::size_t count) {
  std::vector<Assistant> assistants(count);
  for (std::size_t i = 0; i < count; ++i) assistants[i] = createAssistant(url, nullptr, keyOf(i));
  return assistants;
}

/// The document comes from yet another process, as what making it leaves behind is not the library's.
std::int64_t measureQuestion(const std::string& url) {
  const ForkedProcess author([](const Line& line) { line.say(createStructureDocument(kDocumentBytes)); });
  const std::int64_t before = obtainResident();
  const Assistant assistant = createAssistant(url, nullptr);
  setProperty(*assistant, "db_structure", author.line().hear());

  beginNewPeak();
  askOnce(*assistant);
  return obtainPeak() - before;
}

/// What a process needs once for all its questions is there afterwards.
void warmUp(const std::string& url) { askOnce(*createAssistant(url, nullptr)); }

std::int64_t measureIdle(const std::string& url) {
  warmUp(url);
  const std::int64_t before = obtainResident();
  const std::vector<Assistant> assistants = createAssistants(url, kIdleAssistants);
  return (obtainResident() - before) / static_cast<std::int64_t>(kIdleAssistants);
}

std::int64_t measureIdleAfterQuestion(const std::string& url) {
  warmUp(url);
  const std::int64_t before = obtainResident();
  const std::vector<Assistant> assistants = createAssistants(url, kAskingAssistants);
  for (const Assistant& assistant : assistants) askOnce(*assistant);
  return (obtainResident() - before) / static_cast<std::int64_t>(kAskingAssistants);
}

void serve(const Line& line) {
  const loopback::AnsweringServer server(replyOf(kReply));
  line.say(server.url());
  line.waitForEnd();
  // Connections are closed by now: whoever measures has gone first.
}

void print(const char* name, std::int64_t (*measure)(const std::string& url), std::int64_t baseline) {
  const ForkedProcess server(serve);
  const std::string url = server.line().hear();
  const ForkedProcess measuring([&](const Line& line) { line.say(std::to_string(measure(url))); });
  std::cout << name << ',' << measuring.line().hear() << ',' << baseline << std::endl;
}

}  // namespace

int main() {
  try {
    allowManyFiles();
    print("question_with_document", measureQuestion, kDocumentBytes);
    print("idle_assistant", measureIdle, kIdleBaseline);
    print("idle_assistant_after_question", measureIdleAfterQuestion, 0);
    return 0;
  } catch (const std::exception& problem) {
    std::cerr << problem.what() << '\n';
    return 1;
  }
}
