// What the stand-in says when no reply is scripted.
#pragma once

#include "standin/zea_standin.h"

namespace standin {

/// The answer of the small "model" that every stand-in has, in the wire format that belongs to the request's path. A
/// request that the provider would refuse is refused as the provider does it. Any thread may call this.
Reply answerAsModel(const Request& request);

}  // namespace standin
