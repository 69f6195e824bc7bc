// SPDX-License-Identifier: Apache-2.0
// What the stand-in says when no reply is scripted.
#pragma once

#include <optional>
#include <string>

#include "standin/zea_standin.h"

namespace standin {

/// The answer of the small "model" that every stand-in has, in the wire format that the request's path and headers
/// tell. A request that the provider would refuse is refused as the provider does it. Any thread may call this.
Reply answerAsModel(const Request& request);

/// The paths that are answered, in lines for people.
std::string describePaths();

/// The user's question in a chat request; nothing for any other request, and for one that cannot be read.
std::optional<std::string> questionOf(const Request& request);

/// A text as the model's answer to the request in its wire format, or, with a status from 400 on, as the reason for a
/// refusal. A request of no known format is answered as OPENAI would.
Reply answerWith(const Request& request, int status, const std::string& text);

}  // namespace standin
