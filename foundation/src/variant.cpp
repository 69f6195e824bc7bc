// SPDX-License-Identifier: Apache-2.0
#include "qx/variant.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>
#include <utility>

#include "number_text.h"

namespace {

constexpr int kSmallest = std::numeric_limits<int>::min();
constexpr int kLargest = std::numeric_limits<int>::max();

/// Without what may stand before a number, but which std::from_chars doesn't know.
std::string_view skipToNumber(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  return text;
}

int readInt(std::string_view text) {
  text = skipToNumber(text);
  int value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) return text.starts_with('-') ? kSmallest : kLargest;
  return value;
}

int truncate(double value) {
  if (std::isnan(value)) return 0;
  if (value <= kSmallest) return kSmallest;
  if (value >= kLargest) return kLargest;
  return static_cast<int>(value);
}

template <typename Number>
std::string format(Number value) {
  std::array<char, 32> buffer;
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return std::string(buffer.data(), result.ptr);
}

}  // namespace

CMVariant::CMVariant() noexcept = default;
CMVariant::CMVariant(int value) noexcept : value_(value) {}
CMVariant::CMVariant(double value) noexcept : value_(value) {}
CMVariant::CMVariant(std::string value) : value_(std::move(value)) {}
CMVariant::CMVariant(const char* value) : value_(std::string(value != nullptr ? value : "")) {}
CMVariant::CMVariant(CMVariantList value) : value_(std::make_unique<CMVariantList>(std::move(value))) {}
CMVariant::CMVariant(CMVariantMap value) : value_(std::make_unique<CMVariantMap>(std::move(value))) {}
CMVariant::~CMVariant() = default;

CMVariant::CMVariant(const CMVariant& other) {
  switch (other.getValueType()) {
    case ValueType::Null:
      break;
    case ValueType::String:
      value_ = *other.stringIfAny();
      break;
    case ValueType::Int:
      value_ = other.intValue();
      break;
    case ValueType::Double:
      value_ = other.doubleValue();
      break;
    case ValueType::List:
      value_ = std::make_unique<CMVariantList>(*other.listIfAny());
      break;
    case ValueType::Map:
      value_ = std::make_unique<CMVariantMap>(*other.mapIfAny());
      break;
  }
}

CMVariant::CMVariant(CMVariant&& other) noexcept : value_(std::exchange(other.value_, std::monostate())) {}

CMVariant& CMVariant::operator=(const CMVariant& other) { return *this = CMVariant(other); }

// Taken out first: `other` may be an item of this value's own List, which the assignment destroys.
CMVariant& CMVariant::operator=(CMVariant&& other) noexcept {
  auto value = std::exchange(other.value_, std::monostate());
  value_ = std::move(value);
  return *this;
}

CMVariant::ValueType CMVariant::getValueType() const noexcept {
  constexpr std::array kTypes{ValueType::Null,   ValueType::String, ValueType::Int,
                              ValueType::Double, ValueType::List,   ValueType::Map};
  static_assert(kTypes.size() == std::variant_size_v<decltype(value_)>);
  return kTypes[value_.index()];
}

bool CMVariant::isNull() const noexcept { return std::holds_alternative<std::monostate>(value_); }

std::string CMVariant::stringValue() const {
  if (const auto* text = stringIfAny()) return *text;
  if (const auto* number = std::get_if<std::int32_t>(&value_)) return format(*number);
  if (const auto* number = std::get_if<double>(&value_)) return format(*number);
  return {};
}

int CMVariant::intValue() const {
  if (const auto* number = std::get_if<std::int32_t>(&value_)) return *number;
  if (const auto* number = std::get_if<double>(&value_)) return truncate(*number);
  if (const auto* text = stringIfAny()) return readInt(*text);
  return 0;
}

double CMVariant::doubleValue() const {
  if (const auto* number = std::get_if<double>(&value_)) return *number;
  if (const auto* number = std::get_if<std::int32_t>(&value_)) return *number;
  if (const auto* text = stringIfAny()) return qx::readDouble(skipToNumber(*text));
  return 0;
}

CMVariantMap CMVariant::mapValue() const {
  const CMVariantMap* map = mapIfAny();
  return map != nullptr ? *map : CMVariantMap();
}

CMVariantList& CMVariant::listRef() {
  auto* list = std::get_if<std::unique_ptr<CMVariantList>>(&value_);
  return list != nullptr ? **list : *value_.emplace<std::unique_ptr<CMVariantList>>(std::make_unique<CMVariantList>());
}

const std::string* CMVariant::stringIfAny() const noexcept { return std::get_if<std::string>(&value_); }

const CMVariantList* CMVariant::listIfAny() const noexcept {
  const auto* list = std::get_if<std::unique_ptr<CMVariantList>>(&value_);
  return list != nullptr ? list->get() : nullptr;
}

const CMVariantMap* CMVariant::mapIfAny() const noexcept {
  const auto* map = std::get_if<std::unique_ptr<CMVariantMap>>(&value_);
  return map != nullptr ? map->get() : nullptr;
}
