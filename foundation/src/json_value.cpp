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

constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();
// The first chunk of a container that is being built.
constexpr std::size_t kFirstCapacity = 4;

constexpr std::int32_t holdWithin32Bits(std::int64_t value) noexcept {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, std::numeric_limits<std::int32_t>::min(),
                                                            std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

ICOJsonValue::~ICOJsonValue() = default;

bool COJsonValue::getIsValidJson() const noexcept { return node_.kind < Kind::Invalid; }

const COJsonValue* COJsonValue::obtainKeyValue(std::string_view key) const noexcept {
  if (node_.kind != Kind::Object) return nullptr;
  Chunk* chunk = node_.children.last;
  const COJsonValue* found = COJsonArena::findIn(*chunk, node_.children.count, key);
  // Chunks are linked from the back, so a match in an earlier one takes the place of a later one's.
  for (; chunk->previous != nullptr; chunk = chunk->previous) {
    if (const COJsonValue* const earlier = COJsonArena::findIn(*chunk->previous, chunk->before, key)) found = earlier;
  }
  return found;
}

const COJsonValue* COJsonValue::obtainArrayItem(std::size_t index) const noexcept {
  if (index >= obtainArraySize()) return nullptr;
  const COJsonValue& item = COJsonArena::childOf(node_, index);
  COJsonArena::fetchBeyond(item.node_);
  return &item;
}

std::string COJsonValue::obtainStringValue() const {
  if (node_.kind != Kind::Pieces) return std::string(obtainStringView());
  std::string text;
  for (const std::string_view piece : COJsonArena::piecesOf(node_)) text.append(piece);
  return text;
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

void COJsonValue::borrowStringValue(std::string_view value) {
  if (qxAssert(node_.kind == Kind::New)) COJsonArena::setText(node_, node_.arena->borrowText(value));
}

void COJsonValue::borrowStringValue(const std::vector<std::string_view>& pieces) {
  if (!qxAssert(node_.kind == Kind::New)) return;
  node_.pieces = {node_.arena->borrowPieces(pieces), pieces.size()};
  node_.kind = Kind::Pieces;
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

COJson::COJson(std::string text) : COJson(std::make_unique<COJsonArena>(std::move(text)), kNoLimit) {}

COJson::COJson(std::unique_ptr<COJsonArena> arena, std::uint64_t mostValueBytes) : arena_(std::move(arena)) {
  QXJsonResult result = qxParseJson(*arena_, node_, mostValueBytes);
  if (result == QXJsonResult::NotJson) {
    // For the sake of one character or number a user would lose the reply around it.
    std::string text = arena_->releaseInput();
    arena_.reset();
    if (qxRepairJson(text)) {
      arena_ = std::make_unique<COJsonArena>(std::move(text));
      result = qxParseJson(*arena_, node_, mostValueBytes);
    }
  }
  if (result == QXJsonResult::Parsed) return;
  arena_.reset();
  node_.kind = result == QXJsonResult::TooLarge ? Kind::TooLarge : Kind::Invalid;
}

COJson COJson::parseBorrowed(std::string_view text) { return parseBorrowed(text, kNoLimit); }

COJson COJson::parseBorrowed(std::string_view text, std::uint64_t mostValueBytes) {
  return COJson(std::make_unique<COJsonArena>(COJsonArena::Borrowed{text}), mostValueBytes);
}

COJson::~COJson() = default;

std::string COJson::obtainJsonString() const {
  std::string text;
  // Texts are most of a document; an eighth more leaves room for what has to be escaped.
  if (arena_ != nullptr) text.reserve(arena_->obtainTextBytes() + arena_->obtainTextBytes() / 8);
  qxWriteJson(node_, text);
  return text;
}
