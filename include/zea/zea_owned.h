// SPDX-License-Identifier: Apache-2.0
// Conveniences for hosts in C++: owning handles, the names of properties, a question in one call. Everything here is
// made of the library's public functions and adds no symbol to it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "zea/zea.h"
#include "zea/zea_property_names.h"

namespace zea {

/// Gives back what the library handed out.
struct FreeObject {
  void operator()(IZEAObject* object) const noexcept { ZEAFreeObject(object); }
};
/// Owns an assistant, a message, a copy of properties or a released memory.
template <class Object>
using Owned = std::unique_ptr<Object, FreeObject>;

/// An assistant with connections of its own. `memory` as in `ZEACreateAssistant`; `cancel`: what ends its questions, or
/// null. Null for a type that doesn't exist.
[[nodiscard]] inline Owned<IZEAAssistant> createAssistant(ZEAAssistantType type, const std::string& key,
                                                          const std::string& host = {},
                                                          IZEAAssistantMemory* memory = nullptr,
                                                          std::shared_ptr<QXCancelSource> cancel = nullptr) {
  std::unique_ptr<ICSHTTPPoolCenter> pool(cancel ? QX::createHTTPPoolCenter(std::move(cancel))
                                                 : QX::createHTTPPoolCenter());
  Owned<IZEAAssistant> assistant(ZEACreateAssistant(type, pool.get(), key, host, memory));
  if (assistant) static_cast<void>(pool.release());  // it is the assistant's now
  return assistant;
}

/// Sets one property. False when the assistant does not take it.
inline bool setProperty(IZEAAssistant& assistant, const std::string& name, const CMVariant& value) {
  bool isSet = false;
  assistant.updateProperties([&](IZEAProperties* properties) { isSet = properties->setValue(name, value); });
  return isSet;
}

/// A reply, or why there is none.
struct Answer {
  std::string text;
  /// For the user; empty when there is a reply, which may be empty, too. It may hold the key: see `IZEAAssistant`.
  std::string failure;
  bool isAnswered = false;
};

/// Asks a question and blocks until the provider has answered.
[[nodiscard]] inline Answer ask(IZEAAssistant& assistant, std::string question) {
  auto [message, failure] = assistant.addMessage(std::move(question));
  const Owned<IZEAMessage> owned(message);
  Answer answer;
  answer.failure = std::move(failure);
  answer.isAnswered = owned != nullptr;
  if (!owned) return answer;
  for (const IZEAMessageSection* section : owned->obtainSections()) answer.text += section->obtainSectionText();
  return answer;
}

/// Whether a code of `QXCancelSource::obtainLastCode` is an HTTP status, and one that says that all went well.
[[nodiscard]] constexpr bool isHTTPStatus(std::int32_t code) noexcept { return code >= 100; }
[[nodiscard]] constexpr bool isHTTPSuccess(std::int32_t code) noexcept { return code >= 200 && code < 300; }

}  // namespace zea
