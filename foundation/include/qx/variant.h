// SPDX-License-Identifier: Apache-2.0
// A value of one of a few kinds, as hosts and libraries hand them to each other.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "qx/export.h"

class CMVariant;
using CMVariantList = std::vector<CMVariant>;
using CMVariantMap = std::map<std::string, CMVariant>;

/// A value: Null, String, Int, Double, List or Map. Copies are deep. Strings are bytes and may hold NUL.
/// No operation fails but by `std::bad_alloc`. A value serves one thread at a time; any number may read it.
class QX_API CMVariant {
 public:
  enum class ValueType { Null = 0, String = 1, Int = 2, Double = 5, List = 6, Map = 7 };

  CMVariant() noexcept;
  CMVariant(int value) noexcept;     // NOLINT: values are meant to convert
  CMVariant(double value) noexcept;  // NOLINT
  CMVariant(std::string value);      // NOLINT
  CMVariant(const char* value);      // NOLINT; null makes an empty String
  CMVariant(CMVariantList value);    // NOLINT
  CMVariant(CMVariantMap value);     // NOLINT
  CMVariant(bool) = delete;          // a truth value is the Int 0 or 1: say which
  CMVariant(const CMVariant& other);
  CMVariant(CMVariant&& other) noexcept;  // leaves `other` Null
  CMVariant& operator=(const CMVariant& other);
  CMVariant& operator=(CMVariant&& other) noexcept;
  ~CMVariant();

  ValueType getValueType() const noexcept;
  bool isNull() const noexcept;

  /// A String as it is; an Int or a Double in decimal notation, independent of the locale; otherwise empty.
  std::string stringValue() const;
  /// An Int as it is; a Double truncated towards zero and clamped to 32 bits (not-a-number is 0); a String by
  /// the decimal number that it begins with, clamped to 32 bits; otherwise 0.
  int intValue() const;
  /// A Double as it is; an Int converted; a String by the number that it begins with; otherwise 0.
  double doubleValue() const;
  /// A copy of the Map; empty for any other kind.
  CMVariantMap mapValue() const;
  /// The List, to read and change. A value of another kind becomes an empty List first. The reference is good
  /// until the value is assigned to or destroyed.
  CMVariantList& listRef();

  /// Reading without a copy: null unless the value is of that kind. Good until the value changes.
  const std::string* stringIfAny() const noexcept;
  const CMVariantList* listIfAny() const noexcept;
  const CMVariantMap* mapIfAny() const noexcept;

 private:
  // The map is held by a pointer because it cannot hold a class that is still being declared.
  std::variant<std::monostate, std::string, std::int32_t, double, std::unique_ptr<CMVariantList>,
               std::unique_ptr<CMVariantMap>>
      value_;
};
