// SPDX-License-Identifier: Apache-2.0
#include "standin/formats.h"

namespace standin {

std::vector<std::unique_ptr<WireFormat>> createFormats() {
  // ANTHROPIC and X know their requests by more than the path, so they come ahead of OPENAI.
  std::vector<std::unique_ptr<WireFormat>> formats;
  for (const auto create : {createAnthropicFormat, createXFormat, createOpenAiFormat, createAlibabaFormat,
                            createBytedanceFormat, createDeepseekFormat, createGoogleFormat, createOllamaFormat}) {
    formats.push_back(create());
  }
  return formats;
}

}  // namespace standin
