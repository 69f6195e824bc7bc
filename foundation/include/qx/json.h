// SPDX-License-Identifier: Apache-2.0
// JSON documents: reading a text, building a text.
//
// A document owns all its values; pointers to them are borrowed and good until the document is destroyed. The
// address of a value never changes, members and items keep their order. Strings are bytes: what JSON demands is
// escaped and unescaped, everything else passes as it stands, also bytes that are no UTF-8.
// A document serves one thread at a time; any number of threads may read one that nobody changes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "qx/export.h"
#include "qx/variant.h"

/// What a value is. The numbers are part of the interface.
enum class COJsonValueType { Null = 0, Object = 1, Array = 2, String = 3, Integer = 4, Double = 5, Boolean = 6 };

/// Whatever can be sent as a JSON text.
class QX_API ICOJsonValue {
 public:
  virtual ~ICOJsonValue();
  /// The JSON text, without white space between its tokens.
  virtual std::string obtainJsonString() const = 0;
  /// The same once nobody but the caller needs the text any more: a value that holds it ready moves it out instead of
  /// a copy. Called once, by the call that sends it.
  virtual std::string releaseJsonString() { return obtainJsonString(); }
};

namespace qx {
class JsonArena;
struct JsonAccess;
}  // namespace qx

/// One value of a document. New values come from `addKeyValue` and `addArrayItem` and are null until they are given
/// content, which can be done once.
class QX_API COJsonValue {
 public:
  COJsonValue(const COJsonValue&) = delete;
  COJsonValue& operator=(const COJsonValue&) = delete;

  /// False only on a `COJson` whose text was not well-formed; such a document reads as null.
  bool getIsValidJson() const noexcept;
  COJsonValueType obtainType() const noexcept;

  /// The member of that name, compared byte for byte; the first one when the name occurs more than once. Null when
  /// there is none or the value is no object.
  const COJsonValue* obtainKeyValue(std::string_view key) const noexcept;
  /// The number of items; 0 when the value is no array.
  std::size_t obtainArraySize() const noexcept;
  /// The item at `index`, from 0; null past the end or when the value is no array. Walking all items by index is
  /// linear in their number.
  const COJsonValue* obtainArrayItem(std::size_t index) const noexcept;

  /// The string; empty for any other kind.
  std::string obtainStringValue() const;
  /// The same without a copy: borrowed, good as long as the document.
  std::string_view obtainStringView() const noexcept;
  /// The integer, clamped to 32 bits; 0 for any other kind.
  std::int32_t obtainIntValue() const noexcept;
  /// The number as floating point, an integer converted; 0 for any other kind.
  double obtainDoubleValue() const noexcept;
  /// The truth value; false for any other kind.
  bool obtainBoolValue() const noexcept;

  /// Adds a member after the others and returns its new value. A new value becomes an object first. Names are not
  /// compared: adding one twice writes it twice. Null, with a failed assertion, on a value of another kind.
  COJsonValue* addKeyValue(std::string_view key);
  /// Appends an item and returns its new value. A new value becomes an array first, and so does an object without
  /// members, since a new document begins as one; whether it was made here or parsed from "{}" makes no difference.
  /// Null, with a failed assertion, on a value of another kind.
  COJsonValue* addArrayItem();

  /// Give a new value its content. REQUIRES: a new value, and for `setAsArray` a new one or an object without members;
  /// otherwise nothing changes and an assertion fails. Texts are copied. A number that is not finite is written as
  /// null, a finite one so that it reads back exactly and is recognisable as floating point (1.0).
  void setAsArray();
  void setStringValue(std::string_view value);
  void setIntValue(std::int32_t value);
  void setDoubleValue(double value);
  void setBoolValue(bool value);

  /// The JSON text of this value, members and items in their order, without white space between tokens. A new value
  /// is written as null.
  std::string obtainJsonString() const;

 protected:
  COJsonValue() noexcept;
  ~COJsonValue() = default;

 private:
  friend struct qx::JsonAccess;

  // Name and content. Values are most of a large document, so each is no larger than that.
  alignas(std::uint64_t) std::byte node_[32];
};

/// A document: the root value and the owner of all others.
class QX_API COJson : public COJsonValue, public ICOJsonValue {
 public:
  /// An empty object, to be filled, or to be made an array.
  COJson();
  /// Parses the text. Never throws for what the text holds: whether it is well-formed is told by `getIsValidJson`.
  /// A leading byte order mark is skipped, an unpaired surrogate escape reads as U+FFFD, more than 512 levels are
  /// not well-formed. Numbers without fraction and exponent that fit 64 bits are integers, all others doubles.
  explicit COJson(std::string text);
  ~COJson() override;

  std::string obtainJsonString() const override;

 private:
  friend struct qx::JsonAccess;

  COJson(std::unique_ptr<qx::JsonArena> arena, std::uint64_t mostValueBytes);

  std::unique_ptr<qx::JsonArena> arena_;  // null when the text was not well-formed
};

/// A new document that renders a List or a Map, their values included: String, Int, Double, List, Map, and Null as
/// null. For a variant of another kind the document is an empty object. The caller owns the result and deletes it.
[[nodiscard]] QX_API COJson* qxCreateCOJsonFromCMVariant(const CMVariant& value);
