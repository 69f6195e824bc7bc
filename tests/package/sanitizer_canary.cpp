// SPDX-License-Identifier: Apache-2.0
// Commits the fault that a sanitizer is there to find: sanitizer_canary address|undefined|thread.
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>

namespace {

int overflowHeap(std::size_t size) {
  const auto bytes = std::make_unique<char[]>(size);
  volatile char* const behind = bytes.get() + size;
  return *behind;
}

int overflowInteger(int size) { return INT_MAX - 10 + size; }

int raceForANumber() {
  int number = 0;
  std::thread other([&number] { ++number; });
  ++number;
  other.join();
  return number;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const auto length = std::strlen(argv[1]);
  int result = 0;
  if (std::strcmp(argv[1], "address") == 0) result = overflowHeap(length);
  if (std::strcmp(argv[1], "undefined") == 0) result = overflowInteger(static_cast<int>(length) + 10);
  if (std::strcmp(argv[1], "thread") == 0) result = raceForANumber();
  std::printf("no sanitizer stopped this: %d\n", result);
  return 0;
}
