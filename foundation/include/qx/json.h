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
#include <vector>

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
  /// The same once nobody but the caller needs the text any more: a value that holds it ready gives it away instead of
  /// a copy. Called once, by the call that sends it.
  virtual std::string releaseJsonString() { return obtainJsonString(); }
};

class COJsonArena;

/// One value of a document. New values come from `addKeyValue` and `addArrayItem` and are null until they are given
/// content, which can be done once.
class QX_API COJsonValue {
 public:
  COJsonValue(const COJsonValue&) = delete;
  COJsonValue& operator=(const COJsonValue&) = delete;

  /// False only on a `COJson` whose text was not well-formed; such a document reads as null.
  bool getIsValidJson() const noexcept;
  inline COJsonValueType obtainType() const noexcept;

  /// The member of that name, compared byte for byte; the first one when the name occurs more than once. Null when
  /// there is none or the value is no object.
  const COJsonValue* obtainKeyValue(std::string_view key) const noexcept;
  /// The number of items; 0 when the value is no array.
  inline std::size_t obtainArraySize() const noexcept;
  /// The item at `index`, from 0; null past the end or when the value is no array. Walking all items by index is
  /// linear in their number.
  const COJsonValue* obtainArrayItem(std::size_t index) const noexcept;

  /// The string; empty for any other kind.
  std::string obtainStringValue() const;
  /// The same without a copy: borrowed, good as long as the document. Empty also for a string in pieces.
  inline std::string_view obtainStringView() const noexcept;
  /// The integer, held within 32 bits; 0 for any other kind.
  std::int32_t obtainIntValue() const noexcept;
  /// The number as floating point, an integer converted; 0 for any other kind.
  double obtainDoubleValue() const noexcept;
  /// The truth value; false for any other kind.
  bool obtainBoolValue() const noexcept;

  /// Adds a member behind the others and gives its new value. A new value becomes an object first. Names are not
  /// compared: adding one twice writes it twice. Null, with a failed assertion, on a value of another kind.
  COJsonValue* addKeyValue(std::string_view key);
  /// Appends an item and gives its new value. A new value, or an object without members as a new document is one,
  /// becomes an array first. Null, with a failed assertion, on a value of another kind.
  COJsonValue* addArrayItem();

  /// Give a new value its content. REQUIRES: a new value, and for `setAsArray` a new one or an object without members;
  /// otherwise nothing changes and an assertion fails. Texts are copied. A number that is not finite is written as
  /// null, a finite one so that it reads back exactly and is recognisable as floating point (1.0).
  void setAsArray();
  void setStringValue(std::string_view value);
  /// The same without a copy: the text stays where it is and must stay unchanged as long as the document.
  void borrowStringValue(std::string_view value);
  /// The same with a string in pieces, one behind the other.
  void borrowStringValue(const std::vector<std::string_view>& pieces);
  void setIntValue(std::int32_t value);
  void setDoubleValue(double value);
  void setBoolValue(bool value);

  /// The JSON text of this value, members and items in their order, without white space between tokens. A new value
  /// is written as null.
  std::string obtainJsonString() const;

 protected:
  friend class COJsonArena;
  struct Chunk;

  // The first ones have the numbers of `COJsonValueType`.
  enum class Kind : std::uint8_t {
    Null,
    Object,
    Array,
    String,
    Signed,
    Double,
    Boolean,
    Unsigned,
    Pieces,
    New,
    Invalid,
    TooLarge  // invalid too: given up for the memory that the values would take
  };

  // A large document is mostly nodes, so a node is kept at 32 bytes. Names and strings are views of what the document
  // holds.
  struct Node {
    struct Text {
      const char* begin;
      std::size_t size;
    };
    struct Pieces {
      const std::string_view* begin;
      std::size_t count;
    };
    struct Children {
      Chunk* last;  // never null
      std::size_t count;
    };

    const char* keyBegin;
    std::uint64_t keySize : 56;
    Kind kind : 8;
    union {
      COJsonArena* arena;  // of a new value, which may need it for its content
      Children children;
      Text text;
      Pieces pieces;
      std::int64_t signedNumber;
      std::uint64_t unsignedNumber;
      double number;
      bool truth;
    };

    explicit Node(Kind initialKind = Kind::New, std::string_view key = {}) noexcept
        : keyBegin(key.data()),
          keySize(key.size() & ((std::uint64_t{1} << 56) - 1)),
          kind(initialKind),
          arena(nullptr) {}
  };

  COJsonValue() noexcept = default;
  ~COJsonValue() = default;

  Node node_;

 private:
  explicit COJsonValue(const Node& node) noexcept : node_(node) {}
  COJsonValue* addChild(std::string_view key);
  bool isEmptyObject() const noexcept;
};

// Reading goes through these for each value of a document, and a call would cost more than what they do.

COJsonValueType COJsonValue::obtainType() const noexcept {
  if (node_.kind <= Kind::Boolean) return static_cast<COJsonValueType>(node_.kind);
  if (node_.kind == Kind::Pieces) return COJsonValueType::String;
  return node_.kind == Kind::Unsigned ? COJsonValueType::Integer : COJsonValueType::Null;
}

std::size_t COJsonValue::obtainArraySize() const noexcept {
  return node_.kind == Kind::Array ? node_.children.count : 0;
}

std::string_view COJsonValue::obtainStringView() const noexcept {
  return node_.kind == Kind::String ? std::string_view(node_.text.begin, node_.text.size) : std::string_view();
}

/// A document: the root value and the owner of all others.
class QX_API COJson : public COJsonValue, public ICOJsonValue {
 public:
  /// An empty object, to be filled, or to be made an array.
  COJson();
  /// Parses the text. Never throws for what the text holds: whether it is well-formed is told by `getIsValidJson`.
  /// A leading byte order mark is skipped, an unpaired surrogate escape reads as U+FFFD, more than 512 levels are
  /// not well-formed. Numbers without fraction and exponent that fit 64 bits are integers, all others doubles.
  explicit COJson(std::string text);
  /// The same of a text that the caller keeps, unchanged, until the document has gone: it is not copied.
  static COJson parseBorrowed(std::string_view text);
  ~COJson() override;

  std::string obtainJsonString() const override;

 private:
  friend class CMRestResourceResponse;

  COJson(std::unique_ptr<COJsonArena> arena, std::uint64_t mostValueBytes);
  static COJson parseBorrowed(std::string_view text, std::uint64_t mostValueBytes);
  bool isTooLarge() const noexcept { return node_.kind == Kind::TooLarge; }

  std::unique_ptr<COJsonArena> arena_;  // null when the text was not well-formed
};

/// A new document that renders a List or a Map, their values included: String, Int, Double, List, Map, and Null as
/// null. For a variant of another kind the document is an empty object. The caller owns the result and deletes it.
QX_API COJson* qxCreateCOJsonFromCMVariant(const CMVariant& value);
