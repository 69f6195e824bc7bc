// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <limits>
#include <utility>

#include "json_arena.h"
#include "json_parser.h"
#include "json_writer.h"
#include "qx/internal/assertion.h"
#include "qx/internal/json_view.h"
#include "qx/json.h"

namespace qx {

namespace {

constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();
// The first chunk of a container that is being built.
constexpr std::size_t kFirstCapacity = 4;

const JsonNode& nodeOf(const COJsonValue& value) noexcept { return JsonAccess::nodeOf(value); }
JsonNode& nodeOf(COJsonValue& value) noexcept { return JsonAccess::nodeOf(value); }

constexpr std::int32_t clampTo32Bits(std::int64_t value) noexcept {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, std::numeric_limits<std::int32_t>::min(),
                                                            std::numeric_limits<std::int32_t>::max()));
}

// Names are short: the loop is over before a call of memcmp would have begun.
bool isSame(const char* left, const char* right, std::size_t size) noexcept {
  std::uint32_t leftWord = 0;
  std::uint32_t rightWord = 0;
  for (; size >= sizeof leftWord; size -= sizeof leftWord, left += sizeof leftWord, right += sizeof leftWord) {
    std::memcpy(&leftWord, left, sizeof leftWord);
    std::memcpy(&rightWord, right, sizeof rightWord);
    if (leftWord != rightWord) return false;
  }
  for (; size > 0; --size) {
    if (*left++ != *right++) return false;
  }
  return true;
}

/// The first of the chunk's children with that name, or null; `end` is how many children there are up to its end.
const COJsonValue* findIn(JsonChunk& chunk, std::size_t end, std::string_view name) noexcept {
  const COJsonValue* child = chunk.values();
  for (const COJsonValue* const last = child + (end - chunk.before); child != last; ++child) {
    const std::string_view candidate = nodeOf(*child).obtainKey();
    if (candidate.size() == name.size() && isSame(candidate.data(), name.data(), name.size())) return child;
  }
  return nullptr;
}

// Where a large document is walked, much of the time would go by waiting for memory. The members of the next items, and
// their texts, lie some way after those of this one: they are asked for while this one is being read. Were it not
// always inlined, the compiler would leave the call out as one without effects.
[[gnu::always_inline]] inline void prefetchBeyond(const JsonNode& node) noexcept {
  constexpr std::uintptr_t kLine = 64;
  constexpr std::uintptr_t kDistance = 64 * kLine;
  if (node.kind != JsonKind::Object || node.children.count == 0) return;
  const COJsonValue* const members = node.children.last->values();
  const auto nodes = reinterpret_cast<std::uintptr_t>(members) + kDistance;
  const auto texts = reinterpret_cast<std::uintptr_t>(nodeOf(*members).keyBegin) + kDistance;
  for (const std::uintptr_t place : {nodes, nodes + kLine, texts, texts + kLine}) {
    __builtin_prefetch(reinterpret_cast<const void*>(place));
  }
}

COJsonValue* addChild(JsonNode& node, std::string_view key) {
  JsonChunk* chunk = node.children.last;
  JsonNode child(JsonKind::New, chunk->arena->copyText(key));
  child.arena = chunk->arena;
  if (node.children.count == chunk->before + chunk->capacity) {
    chunk = chunk->arena->createChunk(std::max(kFirstCapacity, node.children.count), chunk);
    node.children.last = chunk;
  }
  return chunk->place(node.children.count++ - chunk->before, child);
}

/// The node of a value that can be given its content, otherwise null.
JsonNode* newNodeOf(COJsonValue& value) noexcept {
  JsonNode& node = nodeOf(value);
  return qxAssert(node.kind == JsonKind::New) ? &node : nullptr;
}

}  // namespace

COJson JsonAccess::parse(std::unique_ptr<JsonArena> arena, std::uint64_t mostValueBytes) {
  return COJson(std::move(arena), mostValueBytes);
}

COJson parseJsonView(KeptText text) {
  return JsonAccess::parse(std::make_unique<JsonArena>(JsonArena::View{text.obtainView()}), kNoLimit);
}

void setStringView(COJsonValue& value, KeptText text) {
  if (JsonNode* const node = newNodeOf(value)) node->setText(node->arena->viewText(text.obtainView()));
}

}  // namespace qx

using namespace qx;

ICOJsonValue::~ICOJsonValue() = default;

COJsonValue::COJsonValue() noexcept {
  static_assert(sizeof node_ >= sizeof(JsonNode) && alignof(COJsonValue) >= alignof(JsonNode));
  ::new (node_) JsonNode;
}

bool COJsonValue::getIsValidJson() const noexcept { return nodeOf(*this).kind < JsonKind::Invalid; }

COJsonValueType COJsonValue::obtainType() const noexcept {
  const JsonKind kind = nodeOf(*this).kind;
  if (kind <= JsonKind::Boolean) return static_cast<COJsonValueType>(kind);
  return kind == JsonKind::Unsigned ? COJsonValueType::Integer : COJsonValueType::Null;
}

const COJsonValue* COJsonValue::obtainKeyValue(std::string_view key) const noexcept {
  const JsonNode& node = nodeOf(*this);
  if (node.kind != JsonKind::Object) return nullptr;
  JsonChunk* chunk = node.children.last;
  const COJsonValue* found = findIn(*chunk, node.children.count, key);
  // Chunks are linked from the back, so a match in an earlier one takes the place of a later one's.
  for (; chunk->previous != nullptr; chunk = chunk->previous) {
    if (const COJsonValue* const earlier = findIn(*chunk->previous, chunk->before, key)) found = earlier;
  }
  return found;
}

std::size_t COJsonValue::obtainArraySize() const noexcept {
  const JsonNode& node = nodeOf(*this);
  return node.kind == JsonKind::Array ? node.children.count : 0;
}

const COJsonValue* COJsonValue::obtainArrayItem(std::size_t index) const noexcept {
  if (index >= obtainArraySize()) return nullptr;
  const COJsonValue& item = childOf(nodeOf(*this), index);
  prefetchBeyond(nodeOf(item));
  return &item;
}

std::string COJsonValue::obtainStringValue() const { return std::string(obtainStringView()); }

std::string_view COJsonValue::obtainStringView() const noexcept {
  const JsonNode& node = nodeOf(*this);
  return node.kind == JsonKind::String ? node.obtainText() : std::string_view();
}

std::int32_t COJsonValue::obtainIntValue() const noexcept {
  const JsonNode& node = nodeOf(*this);
  if (node.kind == JsonKind::Unsigned) return std::numeric_limits<std::int32_t>::max();
  return node.kind == JsonKind::Signed ? clampTo32Bits(node.signedNumber) : 0;
}

double COJsonValue::obtainDoubleValue() const noexcept {
  const JsonNode& node = nodeOf(*this);
  if (node.kind == JsonKind::Double) return node.number;
  if (node.kind == JsonKind::Unsigned) return static_cast<double>(node.unsignedNumber);
  return node.kind == JsonKind::Signed ? static_cast<double>(node.signedNumber) : 0;
}

bool COJsonValue::obtainBoolValue() const noexcept {
  const JsonNode& node = nodeOf(*this);
  return node.kind == JsonKind::Boolean && node.truth;
}

COJsonValue* COJsonValue::addKeyValue(std::string_view key) {
  JsonNode& node = nodeOf(*this);
  if (node.kind == JsonKind::New) JsonArena::makeContainer(node, JsonKind::Object, kFirstCapacity);
  if (!qxAssert(node.kind == JsonKind::Object)) return nullptr;
  return addChild(node, key);
}

COJsonValue* COJsonValue::addArrayItem() {
  JsonNode& node = nodeOf(*this);
  if (node.kind == JsonKind::New) JsonArena::makeContainer(node, JsonKind::Array, kFirstCapacity);
  if (node.isEmptyObject()) node.kind = JsonKind::Array;
  if (!qxAssert(node.kind == JsonKind::Array)) return nullptr;
  return addChild(node, {});
}

void COJsonValue::setAsArray() {
  JsonNode& node = nodeOf(*this);
  if (node.isEmptyObject()) {
    node.kind = JsonKind::Array;
  } else if (qxAssert(node.kind == JsonKind::New)) {
    JsonArena::makeContainer(node, JsonKind::Array, 0);
  }
}

void COJsonValue::setStringValue(std::string_view value) {
  if (JsonNode* const node = newNodeOf(*this)) node->setText(node->arena->copyText(value));
}

void COJsonValue::setIntValue(std::int32_t value) {
  JsonNode* const node = newNodeOf(*this);
  if (node == nullptr) return;
  node->kind = JsonKind::Signed;
  node->signedNumber = value;
}

void COJsonValue::setDoubleValue(double value) {
  JsonNode* const node = newNodeOf(*this);
  if (node == nullptr) return;
  node->kind = JsonKind::Double;
  node->number = value;
}

void COJsonValue::setBoolValue(bool value) {
  JsonNode* const node = newNodeOf(*this);
  if (node == nullptr) return;
  node->kind = JsonKind::Boolean;
  node->truth = value;
}

std::string COJsonValue::obtainJsonString() const {
  std::string text;
  writeJson(nodeOf(*this), text);
  return text;
}

COJson::COJson() : arena_(std::make_unique<JsonArena>()) {
  JsonNode& node = nodeOf(*this);
  node.arena = arena_.get();
  JsonArena::makeContainer(node, JsonKind::Object, kFirstCapacity);
}

COJson::COJson(std::string text) : COJson(std::make_unique<JsonArena>(std::move(text)), kNoLimit) {}

COJson::COJson(std::unique_ptr<JsonArena> arena, std::uint64_t mostValueBytes) : arena_(std::move(arena)) {
  JsonNode& node = nodeOf(*this);
  JsonResult result = parseJson(*arena_, node, mostValueBytes);
  if (result == JsonResult::NotJson) {
    // For the sake of one character or number a user would lose the reply around it.
    std::string text = arena_->releaseInput();
    arena_.reset();
    if (repairJson(text)) {
      arena_ = std::make_unique<JsonArena>(std::move(text));
      result = parseJson(*arena_, node, mostValueBytes);
    }
  }
  if (result == JsonResult::Parsed) return;
  arena_.reset();
  node.kind = result == JsonResult::TooLarge ? JsonKind::TooLarge : JsonKind::Invalid;
}

COJson::~COJson() = default;

std::string COJson::obtainJsonString() const {
  std::string text;
  // Texts are most of a document; an eighth more leaves room for what has to be escaped.
  if (arena_ != nullptr) text.reserve(arena_->obtainTextBytes() + arena_->obtainTextBytes() / 8);
  writeJson(nodeOf(*this), text);
  return text;
}
