// SPDX-License-Identifier: Apache-2.0
// The assistant.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "zea/izea_assistant_memory.h"
#include "zea/izea_message.h"
#include "zea/izea_object.h"
#include "zea/izea_properties.h"

/// A conversation with a model of one provider. Made by `ZEACreateAssistant`, owned by the host and given back with
/// `ZEAFreeObject`. One thread at a time may use it, its properties and its memory.
///
/// Operations that can fail return a pair: on success the text is empty; on failure the text is meant for the user and
/// the first member is null or empty. Where a server has said what is wrong the text is in its words, unchanged, and
/// they may hold the key that it was sent: whoever shows or logs the text masks it with `qxMaskSecret` first. The
/// library's own sentences hold no key.
class IZEAAssistant : public IZEAObject {
 public:
  /// Hands the memory to the caller, who owns it from now on and frees it with `ZEAFreeObject` after the assistant is
  /// gone or has another memory: the assistant goes on using it. A memory that was the caller's anyway stays so.
  virtual IZEAAssistantMemory* releaseMemory() = 0;

  /// Uses another memory from now on, with its turns and its database structure. Not owned; must outlive its use
  /// here. A memory that the assistant owned is deleted. REQUIRES: not null, and not the memory that the assistant
  /// itself owns; otherwise nothing changes.
  virtual void setMemory(IZEAAssistantMemory* memory) = 0;

  /// The provider's public API host, without scheme.
  virtual std::string obtainDefaultHost() const = 0;

  /// The URL of the provider's chat operation under the current "api_host", for a host to show. For ALIBABA it is
  /// that of the model listing; for GOOGLE "[model]" stands where the model belongs.
  virtual std::string obtainEndpointURL() const = 0;

  /// Asks the provider for its models, in the order that suits a user: newest first where the provider tells dates,
  /// otherwise as they come. One request, which blocks. BYTEDANCE has no listing: an empty list at once.
  /// Nothing but the list is read; the conversation isn't touched. The text of a failure may hold the key, see above.
  [[nodiscard]] virtual std::pair<std::vector<std::string>, std::string> obtainAvailableModels() = 0;

  /// Calls `function` with the live properties, then holds the temperature in the provider's range and puts a changed
  /// key to use. The properties are borrowed until the function returns. Returns an empty text. Throws
  /// `std::bad_function_call` for an empty function, and whatever `function` throws; what it had set by
  /// then counts all the same.
  virtual std::string updateProperties(std::function<void(IZEAProperties*)> function) = 0;

  /// A copy of the properties, for reading: what is set on it does not reach the assistant, but for "db_structure",
  /// which lives in the memory that both share. The caller owns it and frees it with `ZEAFreeObject`; it must not
  /// outlive that memory.
  [[nodiscard]] virtual IZEAProperties* obtainProperties() const = 0;

  /// Sends the user's text, with the system prompt and the remembered turns, and returns the model's reply, which the
  /// caller owns and frees with `ZEAFreeObject`. Blocks until the provider has answered. Only an answered message is
  /// remembered: one that failed leaves no trace, and the next one goes out as if it had not been. The text is bytes,
  /// sent unchanged, and may be empty. The text of a failure may hold the key, see above.
  [[nodiscard]] virtual std::pair<IZEAMessage*, std::string> addMessage(std::string text) = 0;
};
