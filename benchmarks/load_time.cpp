// SPDX-License-Identifier: Apache-2.0
// Loads a shared library with all that it needs, once, and prints how many microseconds that took. A process loads a
// library once, so scripts/bench starts this program for every figure.
#include <dlfcn.h>

#include <chrono>
#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) return std::fputs("zea_load_time LIBRARY\n", stderr), 2;
  const auto start = std::chrono::steady_clock::now();
  const void* const library = dlopen(argv[1], RTLD_NOW);
  const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start;
  if (library == nullptr) return std::fprintf(stderr, "%s\n", dlerror()), 1;
  std::printf("%.1f\n", time.count());
}
