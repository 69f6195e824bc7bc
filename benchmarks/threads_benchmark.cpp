// SPDX-License-Identifier: Apache-2.0
// Many assistants at once, each with a pool and a thread of its own, asking one server over loopback: against as many
// threads with bare libcurl, and with libcurl that does what the library cannot do without.
#include <benchmark/benchmark.h>

#include <barrier>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "libcurl_caller.h"
#include "question.h"

namespace {

constexpr int kThreads = 256;
constexpr int kQuestionsOfEach = 32;
constexpr std::size_t kPromptBytes = 2000;

class AssistantAsker {
 public:
  AssistantAsker(const std::string& url, const std::string& prompt) : assistant_(createAssistant(url, &memory_)) {
    setProperty(*assistant_, "user_instructions", prompt);
  }
  std::string ask() { return ::ask(*assistant_); }

 private:
  ForgetfulMemory memory_;
  Assistant assistant_;
};

class LibcurlAsker {
 public:
  LibcurlAsker(const std::string& url, const std::string& prompt)
      : body_(bodyOf(prompt)), caller_(url + kChatPath, &body_) {}
  std::string ask() { return caller_.call() == kReply ? "" : "failed"; }

 private:
  std::string body_;
  LibcurlCaller caller_;
};

/// What the library cannot do without, and nothing else of what it does.
class GuardedLibcurlAsker {
 public:
  GuardedLibcurlAsker(const std::string& url, const std::string& prompt)
      : prompt_(prompt), caller_(url + kChatPath, &body_) {}
  std::string ask() {
    body_ = bodyOf(prompt_);
    return isRead(caller_.callGuarded()) ? "" : "failed";
  }

 private:
  std::string prompt_;  // as each assistant has
  std::string body_;
  LibcurlCaller caller_;
};

/// Threads that ask one server. Their connections stand when it has been made.
template <class Asker>
class Crowd {
 public:
  Crowd(const std::string& url, const std::string& prompt) : url_(url), prompt_(prompt) {
    for (int i = 0; i < kThreads; ++i) threads_.emplace_back([this] { work(); });
    gate_.arrive_and_wait();
  }
  ~Crowd() {
    isOver_ = true;
    gate_.arrive_and_wait();
  }
  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

  /// Each thread asks `kQuestionsOfEach` times; it is over with the last reply. Gives the last failure so far, or an
  /// empty text.
  std::string askAround() {
    gate_.arrive_and_wait();
    gate_.arrive_and_wait();
    return failure_;
  }

 private:
  void work() {
    Asker asker(url_, prompt_);
    ask(asker);
    gate_.arrive_and_wait();
    for (;;) {
      gate_.arrive_and_wait();
      if (isOver_) return;
      for (int i = 0; i < kQuestionsOfEach; ++i) ask(asker);
      gate_.arrive_and_wait();
    }
  }
  void ask(Asker& asker) {
    std::string failure = asker.ask();
    if (failure.empty()) return;
    const std::lock_guard lock(mutex_);
    failure_ = std::move(failure);
  }

  const std::string& url_;
  const std::string& prompt_;
  std::barrier<> gate_{kThreads + 1};
  bool isOver_ = false;
  std::mutex mutex_;
  std::string failure_;
  std::vector<std::jthread> threads_;
};

template <class Asker>
void askAtOnce(benchmark::State& state) {
  allowManyFiles();
  const Peer peer(false);
  const std::string url = peer.url();
  const std::string prompt = promptOf(kPromptBytes);
  Crowd<Asker> crowd(url, prompt);
  for (auto _ : state) {
    if (const std::string failure = crowd.askAround(); !failure.empty()) state.SkipWithError(failure.c_str());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kThreads * kQuestionsOfEach);
}

void crowds(benchmark::internal::Benchmark* benchmark) {
  // No two rounds are alike.
  benchmark->MinTime(0.2)->Repetitions(15)->Unit(benchmark::kMillisecond)->UseRealTime();
}
BENCHMARK(askAtOnce<AssistantAsker>)->Name("threads/assistants")->Apply(crowds);
BENCHMARK(askAtOnce<LibcurlAsker>)->Name("threads/libcurl")->Apply(crowds);
BENCHMARK(askAtOnce<GuardedLibcurlAsker>)->Name("threads/guardedLibcurl")->Apply(crowds);

}  // namespace
