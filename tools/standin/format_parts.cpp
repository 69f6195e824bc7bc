// SPDX-License-Identifier: Apache-2.0
#include "standin/format_parts.h"

#include <array>
#include <ctime>

namespace standin {

namespace {

// A token is about four bytes of English text.
constexpr std::size_t kBytesPerToken = 4;

std::int32_t tokensOf(std::size_t bytes) {
  return static_cast<std::int32_t>((bytes + kBytesPerToken - 1) / kBytesPerToken);
}

Refusal invalid(std::string_view key, const char* expected) {
  return Refusal("Invalid '" + std::string(key) + "': it must be " + expected + ".");
}

const char* describe(COJsonValueType type) {
  switch (type) {
    case COJsonValueType::String:
      return "a string";
    case COJsonValueType::Array:
      return "an array";
    case COJsonValueType::Object:
      return "an object";
    case COJsonValueType::Integer:
      return "an integer";
    case COJsonValueType::Boolean:
      return "a boolean";
    default:
      return "of another kind";
  }
}

}  // namespace

const COJsonValue& requireMember(const COJsonValue& object, std::string_view key, COJsonValueType type) {
  const COJsonValue* member = findMember(object, key, type);
  if (member == nullptr) throw Refusal("Missing required parameter: '" + std::string(key) + "'.");
  return *member;
}

std::string requireText(const COJsonValue& object, std::string_view key) {
  return requireMember(object, key, COJsonValueType::String).obtainStringValue();
}

const COJsonValue* findMember(const COJsonValue& object, std::string_view key, COJsonValueType type) {
  const COJsonValue* member = object.obtainKeyValue(key);
  if (member != nullptr && member->obtainType() != type) throw invalid(key, describe(type));
  return member;
}

void checkTemperature(const COJsonValue& object, double highest) {
  constexpr std::string_view key = "temperature";
  const COJsonValue* member = object.obtainKeyValue(key);
  if (member == nullptr) return;
  const auto type = member->obtainType();
  const bool isNumber = type == COJsonValueType::Integer || type == COJsonValueType::Double;
  const double value = member->obtainDoubleValue();
  if (!isNumber || value < 0.0 || value > highest) throw invalid(key, "a number in the provider's range");
}

void checkStream(const COJsonValue& body) {
  const COJsonValue* stream = findMember(body, "stream", COJsonValueType::Boolean);
  if (stream != nullptr && stream->obtainBoolValue()) throw invalid("stream", "false: the stand-in does not stream");
}

void checkTokenLimit(const COJsonValue& object, std::string_view key) {
  const COJsonValue* limit = findMember(object, key, COJsonValueType::Integer);
  if (limit != nullptr && limit->obtainIntValue() < 1) throw invalid(key, "1 or more");
}

void addText(COJsonValue& object, std::string_view key, std::string_view text) {
  object.addKeyValue(key)->setStringValue(text);
}

Usage usageOf(const Conversation& conversation, const std::string& answer) {
  return {tokensOf(conversation.system.size() + conversation.question.size()), tokensOf(answer.size())};
}

std::string timeText(std::time_t secondsSinceEpoch) {
  std::tm parts{};
  std::array<char, 32> text{};
  if (::gmtime_r(&secondsSinceEpoch, &parts) == nullptr) return {};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

}  // namespace standin
