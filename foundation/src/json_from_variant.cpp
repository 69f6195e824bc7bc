// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <vector>

#include "json_arena.h"
#include "qx/json.h"
#include "qx/variant.h"

namespace {

/// A List or Map whose value has been made, but not filled.
struct Unfilled {
  const CMVariant* variant;
  COJsonValue* value;
};

void fillValue(const CMVariant& variant, COJsonValue& value, std::vector<Unfilled>& unfilled) {
  switch (variant.getValueType()) {
    case CMVariant::ValueType::Null:
      return;
    case CMVariant::ValueType::String:
      value.setStringValue(*variant.stringIfAny());
      return;
    case CMVariant::ValueType::Int:
      value.setIntValue(variant.intValue());
      return;
    case CMVariant::ValueType::Double:
      value.setDoubleValue(variant.doubleValue());
      return;
    case CMVariant::ValueType::List:
      value.setAsArray();
      break;
    case CMVariant::ValueType::Map:
      qx::JsonArena::makeContainer(qx::JsonAccess::nodeOf(value), qx::JsonKind::Object, variant.mapIfAny()->size());
      break;
  }
  unfilled.push_back({&variant, &value});
}

}  // namespace

// Values never move, so what lies deeper can be filled in later, and no depth needs recursion.
COJson* qxCreateCOJsonFromCMVariant(const CMVariant& value) {
  auto document = value.listIfAny() != nullptr ? std::make_unique<COJson>("[]") : std::make_unique<COJson>();
  std::vector<Unfilled> unfilled{{&value, document.get()}};
  while (!unfilled.empty()) {
    const Unfilled container = unfilled.back();
    unfilled.pop_back();
    if (const CMVariantList* list = container.variant->listIfAny()) {
      for (const CMVariant& item : *list) fillValue(item, *container.value->addArrayItem(), unfilled);
    }
    if (const CMVariantMap* map = container.variant->mapIfAny()) {
      for (const auto& [key, member] : *map) fillValue(member, *container.value->addKeyValue(key), unfilled);
    }
  }
  return document.release();
}
