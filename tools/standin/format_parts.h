// SPDX-License-Identifier: Apache-2.0
// What the formats are made from: reading a request strictly, writing an answer.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "standin/wire_format.h"

namespace standin {

/// The member of that kind. Throws `Refusal` when there is none.
const COJsonValue& requireMember(const COJsonValue& object, std::string_view key, COJsonValueType type);
/// The same for a string; gives its text.
std::string requireText(const COJsonValue& object, std::string_view key);
/// The member of that kind; null when there is no member of that name. Throws `Refusal` for one of another kind.
const COJsonValue* findMember(const COJsonValue& object, std::string_view key, COJsonValueType type);

/// Throw `Refusal` for a member that is there and cannot be used: a "temperature" that is no number from 0 to
/// `highest`, a "stream" that is not false, a token limit that is no positive integer.
void checkTemperature(const COJsonValue& object, double highest);
void checkStream(const COJsonValue& body);
void checkTokenLimit(const COJsonValue& object, std::string_view key);

/// Adds a member with a text.
void addText(COJsonValue& object, std::string_view key, std::string_view text);

/// About as many tokens as the texts have.
struct Usage {
  std::int32_t sent;
  std::int32_t given;
};
Usage usageOf(const Conversation& conversation, const std::string& answer);

/// Such as "2025-06-15T15:06:40Z".
std::string timeText(std::time_t secondsSinceEpoch);

}  // namespace standin
