// SPDX-License-Identifier: Apache-2.0
// The providers.
#pragma once

#include <cstdint>

/// Which provider an assistant talks to. The numbers are part of the interface.
enum class ZEAAssistantType : std::uint32_t {
  OPENAI_v1 = 0,
  GOOGLE = 1,
  DEEPSEEK = 2,
  OLLAMA = 3,  // a local server; takes no key
  X = 4,
  ANTHROPIC = 5,
  ALIBABA = 6,
  BYTEDANCE = 7,
  MOONSHOT = 8,
};
