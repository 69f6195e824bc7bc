// SPDX-License-Identifier: Apache-2.0
// The formats that the stand-in speaks.
#pragma once

#include <memory>
#include <vector>

#include "standin/wire_format.h"

namespace standin {

/// All formats, in the order in which they are to be asked whether a request is theirs.
std::vector<std::unique_ptr<WireFormat>> createFormats();

std::unique_ptr<WireFormat> createOpenAiFormat();
std::unique_ptr<WireFormat> createXFormat();
std::unique_ptr<WireFormat> createAlibabaFormat();
std::unique_ptr<WireFormat> createBytedanceFormat();
std::unique_ptr<WireFormat> createDeepseekFormat();
std::unique_ptr<WireFormat> createAnthropicFormat();
std::unique_ptr<WireFormat> createGoogleFormat();
std::unique_ptr<WireFormat> createOllamaFormat();

}  // namespace standin
