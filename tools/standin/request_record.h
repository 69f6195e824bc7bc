// SPDX-License-Identifier: Apache-2.0
// A request in words, for people to read.
#pragma once

#include <string>

#include "standin/zea_standin.h"

namespace standin {

/// Method, target, headers and body as lines of text. Keys, in headers and in the query, are replaced by "(hidden)".
std::string describeRequest(const Request& request);

}  // namespace standin
