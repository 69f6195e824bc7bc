// SPDX-License-Identifier: Apache-2.0
// What the stand-in's "model" says.
#pragma once

#include <string>

#include "standin/wire_format.h"

namespace standin {

/// The answer to a conversation: that a stand-in is speaking, the tables and views that the system prompt told it of,
/// the number of earlier turns, and a SELECT for the one that the question mentions.
std::string composeAnswer(const Conversation& conversation);

}  // namespace standin
