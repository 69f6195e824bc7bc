// One question over loopback, against libcurl with a handle that is kept and a body that is fixed, and against a bare
// socket. The argument is the size of the system prompt.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zea/zea.h>

#include "loopback_server.h"
#include "support/tls_identity.h"

namespace {

constexpr char kReply[] = R"({"choices":[{"message":{"role":"assistant","content":"SELECT * FROM orders;"}}]})";

/// Remembers nothing, so that every question is of one size.
class ForgetfulMemory : public IZEAAssistantMemory {
 public:
  void setStructureDocument(const std::string&) override {}
  std::string obtainStructureDocument() const override { return {}; }
  void addEntry(std::int32_t, const std::string&) override {}
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t) const override { return {}; }
};

std::string promptOf(const benchmark::State& state) {
  std::string prompt;
  while (prompt.size() < static_cast<std::size_t>(state.range(0))) prompt += "CREATE TABLE `orders` (`id` INTEGER);\n";
  return prompt;
}

/// What the library sends for the prompt, so that all sides send the same.
std::string bodyOf(const std::string& prompt) {
  COJson body;
  body.addKeyValue("model")->setStringValue("m");
  COJsonValue* const messages = body.addKeyValue("messages");
  for (const char* role : {"developer", "user"}) {
    COJsonValue* const item = messages->addArrayItem();
    item->addKeyValue("role")->setStringValue(role);
    item->addKeyValue("content")->setStringValue(*role == 'u' ? "Which orders are open?" : prompt);
  }
  return body.obtainJsonString();
}

/// A server, plain or with an identity of an authority that the clients trust.
struct Peer {
  explicit Peer(bool isSecure)
      : identity(authority.issue("IP:127.0.0.1")), server(kReply, isSecure ? &identity : nullptr) {}
  support::TestAuthority authority;
  standin::TlsIdentity identity;
  LoopbackServer server;
};

void ask(benchmark::State& state, bool isSecure) {
  Peer peer(isSecure);
  CMRestGlobalSettings settings;
  settings.caFile = peer.authority.file();
  ZEASetHTTPSettings(settings);
  ForgetfulMemory memory;
  IZEAAssistant* const assistant =
      ZEACreateAssistant(ZEAAssistantType::OPENAI_v1, QX::createHTTPPoolCenter(), "k", peer.server.url(), &memory);
  assistant->updateProperties([&](IZEAProperties* properties) {
    properties->setValue("model", "m");
    properties->setValue("user_instructions", promptOf(state));
  });
  for (auto _ : state) {
    const auto [reply, failure] = assistant->addMessage("Which orders are open?");
    if (reply == nullptr) state.SkipWithError(failure.c_str());
    ZEAFreeObject(reply);
  }
  ZEAFreeObject(assistant);
}

std::size_t collect(char* data, std::size_t size, std::size_t count, void* body) {
  static_cast<std::string*>(body)->append(data, size * count);
  return size * count;
}

void libcurl(benchmark::State& state, bool isSecure) {
  Peer peer(isSecure);
  const std::string body = bodyOf(promptOf(state));
  CURL* const handle = curl_easy_init();
  curl_slist* const headers =
      curl_slist_append(curl_slist_append(nullptr, "Content-Type: application/json"), "Authorization: Bearer k");
  std::string reply;
  curl_easy_setopt(handle, CURLOPT_URL, (peer.server.url() + "/v1/chat/completions").c_str());
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, curl_slist_append(headers, "Expect:"));
  curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.c_str());
  curl_easy_setopt(handle, CURLOPT_CAINFO, peer.authority.file().c_str());
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, collect);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &reply);
  for (auto _ : state) {
    reply.clear();
    if (curl_easy_perform(handle) != CURLE_OK || reply != kReply) state.SkipWithError("failed");
  }
  curl_easy_cleanup(handle);
  curl_slist_free_all(headers);
}

void bareSocket(benchmark::State& state) {
  Peer peer(false);
  const std::string body = bodyOf(promptOf(state));
  const std::string request =
      "POST /v1/chat/completions HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + std::to_string(body.size()) +
      "\r\n\r\n" + body;
  const int client = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(peer.server.port()));
  if (connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) state.SkipWithError("refused");
  const int on = 1;
  setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  std::string reply;
  for (auto _ : state) {
    const bool isSent = send(client, request.data(), request.size(), 0) == static_cast<ssize_t>(request.size());
    if (!isSent || !readMessage(reply, [&](char* data, std::size_t size) { return recv(client, data, size, 0); })) {
      state.SkipWithError("failed");
    }
  }
  close(client);
}

void prompts(benchmark::internal::Benchmark* benchmark) {
  for (const std::int64_t size : {2'000, 200'000, 2'000'000}) benchmark->Arg(size);
  benchmark->Unit(benchmark::kMicrosecond)->UseRealTime();
}
BENCHMARK_CAPTURE(ask, http, false)->Apply(prompts);
BENCHMARK_CAPTURE(libcurl, http, false)->Apply(prompts);
BENCHMARK(bareSocket)->Apply(prompts);
BENCHMARK_CAPTURE(ask, https, true)->Apply(prompts);
BENCHMARK_CAPTURE(libcurl, https, true)->Apply(prompts);

}  // namespace
