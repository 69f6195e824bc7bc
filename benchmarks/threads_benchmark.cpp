// Many assistants at once, each with a pool and a thread of its own, asking one server over loopback: against as many
// threads with bare libcurl, and a handle each that is kept or new handles. Connections stand before the time is taken.
#include <benchmark/benchmark.h>

#include <memory>
#include <mutex>
#include <string>

#include "libcurl_caller.h"
#include "question.h"

namespace {

constexpr int kThreads = 256;
constexpr std::size_t kPromptBytes = 2000;

/// The first thread to come makes the peer and the last to leave ends it. Every thread waits for all others ahead of
/// its loop, so none leaves before all have come.
class Crowd : public benchmark::Fixture {
 public:
  using benchmark::Fixture::SetUp;
  using benchmark::Fixture::TearDown;
  void SetUp(const benchmark::State&) override {
    const std::lock_guard lock(mutex_);
    if (present_++ > 0) return;
    allowManyFiles();
    prompt = promptOf(kPromptBytes);
    peer = std::make_unique<Peer>(false);
  }
  void TearDown(const benchmark::State&) override {
    const std::lock_guard lock(mutex_);
    if (--present_ == 0) peer.reset();
  }

 protected:
  std::unique_ptr<Peer> peer;
  std::string prompt;

 private:
  std::mutex mutex_;
  int present_ = 0;
};

/// `ask` asks once and gives the failure, which is empty on success.
template <class Ask>
void repeat(benchmark::State& state, Ask ask) {
  if (const std::string failure = ask(); !failure.empty()) state.SkipWithError(failure.c_str());
  for (auto _ : state) {
    if (const std::string failure = ask(); !failure.empty()) state.SkipWithError(failure.c_str());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

BENCHMARK_DEFINE_F(Crowd, assistants)(benchmark::State& state) {
  ForgetfulMemory memory;
  const Assistant assistant = createAssistant(peer->url(), &memory);
  setProperty(*assistant, "user_instructions", prompt);
  repeat(state, [&] { return ask(*assistant); });
}

BENCHMARK_DEFINE_F(Crowd, libcurl)(benchmark::State& state) {
  const std::string body = bodyOf(prompt);
  LibcurlCaller caller(peer->url() + kChatPath, &body);
  repeat(state, [&] { return std::string(caller.call() == kReply ? "" : "failed"); });
}

/// A new handle for each call, a body that is made and a reply that is read, both with libqx, and nothing else of what
/// the library does.
BENCHMARK_DEFINE_F(Crowd, makingLibcurl)(benchmark::State& state) {
  const std::string ownPrompt = prompt;  // as each assistant has
  std::string body;
  LibcurlCaller caller(peer->url() + kChatPath, &body);
  repeat(state, [&] {
    body = bodyOf(ownPrompt);
    const COJson reply(caller.callAnew());
    return std::string(reply.obtainKeyValue("choices") != nullptr ? "" : "failed");
  });
}

void crowds(benchmark::internal::Benchmark* benchmark) {
  benchmark->Threads(kThreads)->Unit(benchmark::kMicrosecond)->UseRealTime();
}
BENCHMARK_REGISTER_F(Crowd, assistants)->Name("threads/assistants")->Apply(crowds);
BENCHMARK_REGISTER_F(Crowd, libcurl)->Name("threads/libcurl")->Apply(crowds);
BENCHMARK_REGISTER_F(Crowd, makingLibcurl)->Name("threads/makingLibcurl")->Apply(crowds);

}  // namespace
