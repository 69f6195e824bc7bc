// SPDX-License-Identifier: Apache-2.0
// What scripts/fit-tokens fits to: for each line {"group": ..., "text": ..., "tokens": {...}} the group, the smallest
// and the largest number of tokens, and what is counted in the text.
#include <qx/json.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <string>

#include "token_features.h"

int main() {
  for (std::string line; std::getline(std::cin, line);) {
    const COJson json(line);
    const COJsonValue* const group = json.obtainKeyValue("group");
    const COJsonValue* const text = json.obtainKeyValue("text");
    const COJsonValue* const tokens = json.obtainKeyValue("tokens");
    if (group == nullptr || text == nullptr || tokens == nullptr) {
      std::fputs("A line has no group, text and tokens.\n", stderr);
      return 1;
    }
    std::printf("%s", group->obtainStringValue().c_str());
    for (const char* const tokenizer : {"o200k", "claude", "gemini", "llama3", "qwen3", "deepseek_v3"}) {
      const COJsonValue* const count = tokens->obtainKeyValue(tokenizer);
      std::printf(" %d", count != nullptr ? count->obtainIntValue() : 0);
    }
    std::printf(" :");
    for (const std::size_t count : zeakit::countTokenFeatures(text->obtainStringView())) std::printf(" %zu", count);
    std::printf("\n");
  }
}
