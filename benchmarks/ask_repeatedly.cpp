// SPDX-License-Identifier: Apache-2.0
// ask_repeatedly URL COUNT: has so many conversations of 20 questions and prints the median of the questions' times in
// microseconds. scripts/bench-python holds Python against it.
#include <zea/zea_owned.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  constexpr int kQuestions = 20;
  std::vector<double> times;
  for (long left = std::strtol(argv[2], nullptr, 10); left > 0; --left) {
    const auto assistant = zea::createAssistant(ZEAAssistantType::OPENAI_v1, "k", argv[1]);
    if (!zea::setProperty(*assistant, zea::property::kModel, "m")) return 1;
    for (int i = 0; i < kQuestions; ++i) {
      const auto start = std::chrono::steady_clock::now();
      if (!zea::ask(*assistant, "Which orders are open?").isAnswered) return 1;
      const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start;
      times.push_back(time.count());
    }
  }
  if (times.empty()) return 2;
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  std::printf("%.1f\n", *middle);
}
