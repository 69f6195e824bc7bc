// SPDX-License-Identifier: Apache-2.0
// How JSON that came from outside is read: "the member of this kind, or nothing". A member of another kind counts as
// one that isn't there. Views are good as long as the document.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "qx/json.h"

namespace zea {

/// The value when it is there and of that kind, otherwise null.
inline const COJsonValue* ofKind(const COJsonValue* value, COJsonValueType type) {
  return value != nullptr && value->obtainType() == type ? value : nullptr;
}

/// True for a value that isn't there, and for one of that kind.
inline bool absentOrOfKind(const COJsonValue* value, COJsonValueType type) {
  return value == nullptr || value->obtainType() == type;
}

inline const COJsonValue* objectMember(const COJsonValue& object, std::string_view key) {
  return ofKind(object.obtainKeyValue(key), COJsonValueType::Object);
}

inline const COJsonValue* arrayMember(const COJsonValue& object, std::string_view key) {
  return ofKind(object.obtainKeyValue(key), COJsonValueType::Array);
}

inline std::optional<std::string_view> stringIn(const COJsonValue* value) {
  if (ofKind(value, COJsonValueType::String) == nullptr) return std::nullopt;
  return value->obtainStringView();
}

inline std::optional<std::string_view> stringMember(const COJsonValue& object, std::string_view key) {
  return stringIn(object.obtainKeyValue(key));
}

/// An integer as a signed 32-bit number.
inline std::optional<std::int32_t> integerMember(const COJsonValue& object, std::string_view key) {
  const COJsonValue* const value = ofKind(object.obtainKeyValue(key), COJsonValueType::Integer);
  if (value == nullptr) return std::nullopt;
  return value->obtainIntValue();
}

/// Calls `function` with each item, in order.
template <class Function>
void forEachItem(const COJsonValue& array, Function function) {
  const std::size_t size = array.obtainArraySize();
  for (std::size_t index = 0; index < size; ++index) function(*array.obtainArrayItem(index));
}

}  // namespace zea
