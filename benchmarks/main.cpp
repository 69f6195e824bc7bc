// SPDX-License-Identifier: Apache-2.0
// Runs the benchmarks, with simdjson in the same kernel on as many machines as can be.
#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <string_view>

namespace {

/// The kernel for AVX2. Left to itself simdjson takes the widest that the processor has, and the one for AVX-512 can be
/// twice as fast: a ratio would then tell two processors apart and not two libraries.
constexpr std::string_view kKernel = "haswell";

/// Where the processor lacks it, simdjson's own choice stands.
void fixKernel() {
  const simdjson::implementation* const fixed = simdjson::get_available_implementations()[kKernel];
  if (fixed != nullptr && fixed->supported_by_runtime_system()) simdjson::get_active_implementation() = fixed;
}

}  // namespace

int main(int argc, char** argv) {
  fixKernel();
  // scripts/bench reads it there.
  benchmark::AddCustomContext("simdjson_kernel", simdjson::get_active_implementation()->name());
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
