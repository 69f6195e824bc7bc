// SPDX-License-Identifier: Apache-2.0
// Making the system prompt of a large database, against simdjson's bare parse of the same document.
#include <benchmark/benchmark.h>
#include <simdjson.h>
#include <zea/zea.h>

#include "structure_document.h"

namespace {

/// The baseline: a new parser each time, as each prompt parses anew.
void bareParse(benchmark::State& state) {
  const std::string document = createStructureDocument(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    if (parser.parse(document).get(root) != simdjson::SUCCESS) state.SkipWithError("no JSON");
    benchmark::DoNotOptimize(root);
  }
}

void combinedInstructions(benchmark::State& state) {
  IZEAAssistant* const assistant = ZEACreateAssistant(ZEAAssistantType::OPENAI_v1, nullptr, "key", "", nullptr);
  assistant->updateProperties([&](IZEAProperties* properties) {
    const std::string document = createStructureDocument(static_cast<std::size_t>(state.range(0)));
    if (!properties->setValue("db_structure", document)) state.SkipWithError("no structure");
  });
  assistant->updateProperties([&](IZEAProperties* properties) {
    for (auto _ : state) benchmark::DoNotOptimize(properties->obtainValue("combined_instructions"));
  });
  ZEAFreeObject(assistant);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  for (const std::int64_t size : {100'000, 1'000'000, 10'000'000, 25'000'000}) benchmark->Arg(size);
  benchmark->Unit(benchmark::kMicrosecond);
}
BENCHMARK(bareParse)->Apply(sizes);
BENCHMARK(combinedInstructions)->Apply(sizes);

}  // namespace
