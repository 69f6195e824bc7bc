// What the stand-in says when no reply is scripted.
#pragma once

#include <string>

#include "standin/zea_standin.h"

namespace standin {

/// The answer of the small "model" that every stand-in has, in the wire format that the request's path and headers
/// tell. A request that the provider would refuse is refused as the provider does it. Any thread may call this.
Reply answerAsModel(const Request& request);

/// The paths that are answered, in lines for people.
std::string describePaths();

}  // namespace standin
