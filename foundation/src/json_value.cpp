#include <algorithm>
#include <limits>
#include <utility>

#include "json_arena.h"
#include "json_parser.h"
#include "json_writer.h"
#include "qx/assertion.h"
#include "qx/json.h"

namespace {

using Kind = COJsonArena::Kind;

// The first chunk of a container that is being built.
constexpr std::size_t kFirstCapacity = 4;

constexpr std::int32_t holdWithin32Bits(std::int64_t value) noexcept {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, std::numeric_limits<std::int32_t>::min(),
                                                            std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

ICOJsonValue::~ICOJsonValue() = default;

bool COJsonValue::getIsValidJson() const noexcept { return node_.kind != Kind::Invalid; }

COJsonValueType COJsonValue::obtainType() const noexcept {
  switch (node_.kind) {
    case Kind::Object:
      return COJsonValueType::Object;
    case Kind::Array:
      return COJsonValueType::Array;
    case Kind::String:
      return COJsonValueType::String;
    case Kind::Signed:
    case Kind::Unsigned:
      return COJsonValueType::Integer;
    case Kind::Double:
      return COJsonValueType::Double;
    case Kind::Boolean:
      return COJsonValueType::Boolean;
    case Kind::New:
    case Kind::Invalid:
    case Kind::Null:
      break;
  }
  return COJsonValueType::Null;
}

const COJsonValue* COJsonValue::obtainKeyValue(std::string_view key) const noexcept {
  if (node_.kind != Kind::Object) return nullptr;
  const COJsonValue* found = nullptr;
  std::size_t end = node_.children.count;
  // Chunks are linked from the back, so a match in an earlier one takes the place of a later one's.
  for (Chunk* chunk = node_.children.last; chunk != nullptr; chunk = chunk->previous) {
    const COJsonValue* first = chunk->values();
    const COJsonValue* last = first + (end - chunk->before);
    const COJsonValue* match =
        std::find_if(first, last, [key](const COJsonValue& child) { return COJsonArena::keyOf(child.node_) == key; });
    if (match != last) found = match;
    end = chunk->before;
  }
  return found;
}

std::size_t COJsonValue::obtainArraySize() const noexcept {
  return node_.kind == Kind::Array ? node_.children.count : 0;
}

const COJsonValue* COJsonValue::obtainArrayItem(std::size_t index) const noexcept {
  return index < obtainArraySize() ? &COJsonArena::childOf(node_, index) : nullptr;
}

std::string COJsonValue::obtainStringValue() const { return std::string(obtainStringView()); }

std::string_view COJsonValue::obtainStringView() const noexcept {
  return node_.kind == Kind::String ? COJsonArena::textOf(node_) : std::string_view();
}

std::int32_t COJsonValue::obtainIntValue() const noexcept {
  if (node_.kind == Kind::Unsigned) return std::numeric_limits<std::int32_t>::max();
  return node_.kind == Kind::Signed ? holdWithin32Bits(node_.signedNumber) : 0;
}

double COJsonValue::obtainDoubleValue() const noexcept {
  if (node_.kind == Kind::Double) return node_.number;
  if (node_.kind == Kind::Unsigned) return static_cast<double>(node_.unsignedNumber);
  return node_.kind == Kind::Signed ? static_cast<double>(node_.signedNumber) : 0;
}

bool COJsonValue::obtainBoolValue() const noexcept { return node_.kind == Kind::Boolean && node_.truth; }

COJsonValue* COJsonValue::addChild(std::string_view key) {
  Chunk* chunk = node_.children.last;
  Node child(Kind::New, chunk->arena->copyText(key));
  child.arena = chunk->arena;
  if (node_.children.count == chunk->before + chunk->capacity) {
    chunk = chunk->arena->createChunk(std::max(kFirstCapacity, node_.children.count), chunk);
    node_.children.last = chunk;
  }
  return chunk->place(node_.children.count++ - chunk->before, child);
}

COJsonValue* COJsonValue::addKeyValue(std::string_view key) {
  if (node_.kind == Kind::New) COJsonArena::makeContainer(node_, Kind::Object, kFirstCapacity);
  if (!qxAssert(node_.kind == Kind::Object)) return nullptr;
  return addChild(key);
}

COJsonValue* COJsonValue::addArrayItem() {
  if (node_.kind == Kind::New) COJsonArena::makeContainer(node_, Kind::Array, kFirstCapacity);
  if (isEmptyObject()) node_.kind = Kind::Array;
  if (!qxAssert(node_.kind == Kind::Array)) return nullptr;
  return addChild({});
}

void COJsonValue::setAsArray() {
  if (isEmptyObject()) {
    node_.kind = Kind::Array;
  } else if (qxAssert(node_.kind == Kind::New)) {
    COJsonArena::makeContainer(node_, Kind::Array, 0);
  }
}

bool COJsonValue::isEmptyObject() const noexcept { return node_.kind == Kind::Object && node_.children.count == 0; }

void COJsonValue::setStringValue(std::string_view value) {
  if (qxAssert(node_.kind == Kind::New)) COJsonArena::setText(node_, node_.arena->copyText(value));
}

void COJsonValue::setIntValue(std::int32_t value) {
  if (!qxAssert(node_.kind == Kind::New)) return;
  node_.kind = Kind::Signed;
  node_.signedNumber = value;
}

void COJsonValue::setDoubleValue(double value) {
  if (!qxAssert(node_.kind == Kind::New)) return;
  node_.kind = Kind::Double;
  node_.number = value;
}

void COJsonValue::setBoolValue(bool value) {
  if (!qxAssert(node_.kind == Kind::New)) return;
  node_.kind = Kind::Boolean;
  node_.truth = value;
}

std::string COJsonValue::obtainJsonString() const {
  std::string text;
  qxWriteJson(node_, text);
  return text;
}

COJson::COJson() : arena_(std::make_unique<COJsonArena>()) {
  node_.arena = arena_.get();
  COJsonArena::makeContainer(node_, Kind::Object, kFirstCapacity);
}

COJson::COJson(std::string text) : arena_(std::make_unique<COJsonArena>(std::move(text))) {
  if (qxParseJson(*arena_, node_)) return;
  // For the sake of one character or number a user would lose the reply around it.
  text = arena_->releaseText();
  arena_.reset();
  if (qxRepairJson(text)) {
    arena_ = std::make_unique<COJsonArena>(std::move(text));
    if (qxParseJson(*arena_, node_)) return;
    arena_.reset();
  }
  node_.kind = Kind::Invalid;
}

COJson::~COJson() = default;

std::string COJson::obtainJsonString() const {
  std::string text;
  // Texts are most of a document; an eighth more leaves room for what has to be escaped.
  if (arena_ != nullptr) text.reserve(arena_->obtainTextBytes() + arena_->obtainTextBytes() / 8);
  qxWriteJson(node_, text);
  return text;
}
