// SPDX-License-Identifier: Apache-2.0
// What a provider, or whatever stands in its place, says.
#pragma once

#include <string>

#include "source.h"

namespace corpus {

enum class Format { OpenAI, Google, Ollama, Anthropic };

/// The body of a reply: mostly one that the format knows, at times one of another format, an error or no JSON at all.
std::string makeChatBody(Source& source, Format format);
std::string makeListingBody(Source& source, Format format);

/// The bytes on the wire. `isLast`: the connection ends with them.
struct WireReply {
  std::string bytes;
  bool isLast = false;
};

/// A reply with that body, framed in one of the ways that there are, or in a wrong one.
WireReply frameReply(Source& source, const std::string& body);

/// A proxy's refusal.
WireReply refuse(Source& source);

}  // namespace corpus
