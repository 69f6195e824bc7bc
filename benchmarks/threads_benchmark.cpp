// Many assistants at once, each with a pool and a thread of its own, asking one server over loopback: against as many
// threads with bare libcurl, and with libcurl that does what the library cannot do without. Connections stand before
// the time is taken.
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

/// What the library cannot do without, and nothing else of what it does.
BENCHMARK_DEFINE_F(Crowd, guardedLibcurl)(benchmark::State& state) {
  const std::string ownPrompt = prompt;  // as each assistant has
  std::string body;
  LibcurlCaller caller(peer->url() + kChatPath, &body);
  repeat(state, [&] {
    body = bodyOf(ownPrompt);
    return std::string(isRead(caller.callGuarded()) ? "" : "failed");
  });
}

void crowds(benchmark::internal::Benchmark* benchmark) {
  // Longer than others, so that threads that end late count less, and more often: no two repetitions are alike.
  benchmark->Threads(kThreads)->MinTime(0.2)->Repetitions(15)->Unit(benchmark::kMicrosecond)->UseRealTime();
}
BENCHMARK_REGISTER_F(Crowd, assistants)->Name("threads/assistants")->Apply(crowds);
BENCHMARK_REGISTER_F(Crowd, libcurl)->Name("threads/libcurl")->Apply(crowds);
BENCHMARK_REGISTER_F(Crowd, guardedLibcurl)->Name("threads/guardedLibcurl")->Apply(crowds);

}  // namespace
