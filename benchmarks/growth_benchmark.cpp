// SPDX-License-Identifier: Apache-2.0
// How a question grows with the turns that are remembered, and a listing with its models, over loopback: against bare
// libcurl moving the same bytes with a handle that is kept, and against mere copies of the turns. What counts is
// that ten times as much costs ten times as much.
#include <benchmark/benchmark.h>

#include <string>
#include <utility>
#include <vector>

#include "libcurl_caller.h"
#include "question.h"

namespace {

/// Numbers without order, the same in each run.
constexpr std::uint32_t scatter(std::uint32_t number) {
  std::uint32_t mixed = (number + 1) * 2'654'435'769U;
  mixed = (mixed ^ (mixed >> 15U)) * 2'246'822'519U;
  return mixed ^ (mixed >> 13U);
}

/// Turns of 120 to 400 bytes, the user's and the assistant's by turns.
std::vector<ZEAAssistantMemoryEntry> createTurns(std::uint32_t count) {
  constexpr std::string_view kSentence = "SELECT `customers`.`name`, SUM(`amount`) FROM `orders` JOIN `customers`;\n";
  std::string text;
  while (text.size() < 400) text += kSentence;
  std::vector<ZEAAssistantMemoryEntry> turns;
  for (std::uint32_t turn = 0; turn < count; ++turn) {
    turns.push_back({turn % 2 == 0 ? ZEARoleUser : ZEARoleAssistant, text.substr(0, 120 + scatter(turn) % 281)});
  }
  return turns;
}

/// Gives the same turns each time and forgets new ones.
class SteadyMemory final : public ForgetfulMemory {
 public:
  explicit SteadyMemory(std::vector<ZEAAssistantMemoryEntry> turns) : turns_(std::move(turns)) {}
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t) const override { return turns_; }

 private:
  std::vector<ZEAAssistantMemoryEntry> turns_;
};

std::string createListing(std::uint32_t count) {
  std::string listing = R"({"object":"list","data":[)";
  for (std::uint32_t model = 0; model < count; ++model) {
    const std::uint32_t random = scatter(model);
    if (model > 0) listing += ',';
    listing += R"({"id":"model-)" + std::to_string(random % 100) + "-turbo-" + std::to_string(random) +
               R"(","object":"model","created":)" + std::to_string(1'600'000'000 + random % 150'000'000) +
               R"(,"owned_by":"system"})";
  }
  return listing + "]}";
}

std::uint32_t countOf(const benchmark::State& state) { return static_cast<std::uint32_t>(state.range(0)); }

void conversation(benchmark::State& state) {
  const Peer peer(false);
  SteadyMemory memory(createTurns(countOf(state)));
  const Assistant assistant = createAssistant(peer.url(), &memory);
  for (auto _ : state) {
    if (const std::string failure = ask(*assistant); !failure.empty()) state.SkipWithError(failure.c_str());
  }
}

void conversationByLibcurl(benchmark::State& state) {
  const Peer peer(false);
  const std::string body = bodyOf("", createTurns(countOf(state)));
  LibcurlCaller caller(peer.url() + kChatPath, &body);
  for (auto _ : state) {
    if (caller.call() != kReply) state.SkipWithError("failed");
  }
}

/// The memory gives its turns by value, and their texts go into a body: both are mere copies here, and nothing is
/// asked.
void copiedTurns(benchmark::State& state) {
  const SteadyMemory memory(createTurns(countOf(state)));
  std::string body;
  for (auto _ : state) {
    body.clear();
    for (const ZEAAssistantMemoryEntry& turn : memory.obtainEntries(0)) body += turn.text;
    benchmark::DoNotOptimize(body.data());
  }
}

void listing(benchmark::State& state) {
  const Peer peer(false, createListing(countOf(state)));
  const Assistant assistant = createAssistant(peer.url(), nullptr);
  for (auto _ : state) {
    const auto [models, failure] = assistant->obtainAvailableModels();
    if (models.size() != countOf(state)) state.SkipWithError(("not all models: " + failure).c_str());
  }
}

void listingByLibcurl(benchmark::State& state) {
  const std::string list = createListing(countOf(state));
  const Peer peer(false, list);
  LibcurlCaller caller(peer.url() + "/v1/models", nullptr);
  for (auto _ : state) {
    if (caller.call().size() != list.size()) state.SkipWithError("failed");
  }
}

void upTo(benchmark::internal::Benchmark* benchmark, std::int64_t most) {
  for (std::int64_t count = 10; count <= most; count *= 10) benchmark->Arg(count);
  benchmark->Unit(benchmark::kMicrosecond)->UseRealTime();
}
void turns(benchmark::internal::Benchmark* benchmark) { upTo(benchmark, 10'000); }
void models(benchmark::internal::Benchmark* benchmark) { upTo(benchmark, 100'000); }
BENCHMARK(conversation)->Apply(turns);
BENCHMARK(conversationByLibcurl)->Apply(turns);
BENCHMARK(copiedTurns)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(listing)->Apply(models);
BENCHMARK(listingByLibcurl)->Apply(models);

}  // namespace
