// SPDX-License-Identifier: Apache-2.0
// One question over loopback, against libcurl with a handle that is kept and a body that is fixed, copied or written
// anew by simdjson, against libcurl that does what the library cannot do without, and against a bare socket. The
// argument is the size of the system prompt.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/tcp.h>
#include <simdjson.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

#include "libcurl_caller.h"
#include "loopback/channel.h"
#include "question.h"

namespace {

std::string promptFor(const benchmark::State& state) { return promptOf(static_cast<std::size_t>(state.range(0))); }

void ask(benchmark::State& state, bool isSecure) {
  const Peer peer(isSecure);
  ForgetfulMemory memory;
  const Assistant assistant = createAssistant(peer.url(), &memory);
  setProperty(*assistant, "user_instructions", promptFor(state));
  for (auto _ : state) {
    if (const std::string failure = ::ask(*assistant); !failure.empty()) state.SkipWithError(failure.c_str());
  }
}

void libcurl(benchmark::State& state, bool isSecure) {
  const Peer peer(isSecure);
  const std::string body = bodyOf(promptFor(state));
  LibcurlCaller caller(peer.url() + kChatPath, &body);
  if (isSecure) caller.trust(peer.caFile());
  for (auto _ : state) {
    if (caller.call() != kReply) state.SkipWithError("failed");
  }
}

/// What nobody who keeps the library's promises with libcurl can do without: its guards, among them another handle
/// for each call, a body that is made and a reply that is read. Behind a reply, libcurl 7.88 reads what it has freed
/// when the next one through the same handle begins with the continuation of a header.
void guardedLibcurl(benchmark::State& state, bool isSecure) {
  const Peer peer(isSecure);
  const std::string prompt = promptFor(state);
  std::string body;
  LibcurlCaller caller(peer.url() + kChatPath, &body);
  if (isSecure) caller.trust(peer.caFile());
  for (auto _ : state) {
    body = bodyOf(prompt);
    if (!isRead(caller.callGuarded())) state.SkipWithError("failed");
  }
}

/// `write` makes the body of each question out of one that is ready, into memory that is kept.
template <class Write>
void writingLibcurl(benchmark::State& state, Write write) {
  const Peer peer(false);
  const std::string prepared = bodyOf(promptFor(state));
  std::string body = prepared;
  LibcurlCaller caller(peer.url() + kChatPath, &body);
  for (auto _ : state) {
    write(prepared, body);
    if (caller.call() != kReply) state.SkipWithError("failed");
  }
}

/// The prompt is put into the body, which is a mere copy here.
void copyingLibcurl(benchmark::State& state) {
  writingLibcurl(state, [](const std::string& prepared, std::string& body) { body.assign(prepared); });
}

/// Here it is a copy that looks at every character, as one that escapes has to.
void minifyingLibcurl(benchmark::State& state) {
  writingLibcurl(state, [&state](const std::string& prepared, std::string& body) {
    std::size_t size = 0;
    const simdjson::error_code error = simdjson::minify(prepared.data(), prepared.size(), body.data(), size);
    if (error != simdjson::SUCCESS || size != body.size()) state.SkipWithError("not written");
  });
}

int connectTo(int port) {
  const int client = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  const int on = 1;
  setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  // What goes wrong here shows when the first request is sent.
  static_cast<void>(connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address));
  return client;
}

void bareSocket(benchmark::State& state) {
  const Peer peer(false);
  const std::string body = bodyOf(promptFor(state));
  std::string request = std::string("POST ") + kChatPath +
                        " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(peer.port()) + "\r\nAccept: */*\r\n";
  for (const char* header : kHeaders) request.append(header).append("\r\n");
  request.append(kContentType).append("\r\n");
  request += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  const loopback::Channel channel(connectTo(peer.port()), nullptr);
  std::string reply;
  for (auto _ : state) {
    if (!channel.send(request) || !channel.receive(reply)) state.SkipWithError("failed");
  }
}

void smallPrompt(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(2'000)->Unit(benchmark::kMicrosecond)->UseRealTime();
}

void prompts(benchmark::internal::Benchmark* benchmark) {
  smallPrompt(benchmark);
  benchmark->Arg(200'000)->Arg(2'000'000);
}
BENCHMARK_CAPTURE(ask, http, false)->Apply(prompts);
BENCHMARK_CAPTURE(libcurl, http, false)->Apply(prompts);
BENCHMARK_CAPTURE(guardedLibcurl, http, false)->Apply(smallPrompt);
BENCHMARK_CAPTURE(guardedLibcurl, https, true)->Apply(smallPrompt);
BENCHMARK(copyingLibcurl)->Name("copyingLibcurl/http")->Apply(prompts);
BENCHMARK(minifyingLibcurl)->Name("minifyingLibcurl/http")->Apply(prompts);
BENCHMARK(bareSocket)->Apply(prompts);
BENCHMARK_CAPTURE(ask, https, true)->Apply(prompts);
BENCHMARK_CAPTURE(libcurl, https, true)->Apply(prompts);

}  // namespace
