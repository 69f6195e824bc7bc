// SPDX-License-Identifier: Apache-2.0
// One operation on its way to a provider and back: the road that all providers share.
//
// An adapter's operation makes a call object on the stack and runs it. The road fixes the order of the steps, the
// guards, the failure texts and the writing to the memory; the steps that differ are virtual. A wire format is a
// subclass, a provider within it a final class beside its adapter that overrides only what that provider does
// differently.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "qx/internal/json_view.h"
#include "qx/json.h"
#include "qx/rest_request.h"
#include "qx/rest_response.h"
#include "qx/rest_session.h"
#include "zea/izea_assistant_memory.h"
#include "zea/izea_message.h"
#include "zea_assistant_properties.h"

/// The segments of a request's path. The URL and the location text of a failure both come from them.
using ZEAPath = std::vector<std::string>;

/// What a call works on: parts of its assistant. Borrowed for the life of the call object.
struct ZEACallContext {
  const ZEAAssistantProperties& properties;
  CMRestSession& session;
  IZEAAssistantMemory& memory;
};

/// What came back, with what the steps ask of it. Borrowed for the rest of the call.
struct ZEAAnswer {
  const CMRestResourceResponse& response;
  const std::string& transportError;  // empty on success
  const COJsonValue* json;            // null unless the body is a JSON text
};

/// What a message says. Borrowed, and unchanged, until the text of its body has been made.
struct ZEAPrompt {
  const std::string& instructions;                    // the system prompt; empty: none
  const std::vector<ZEAAssistantMemoryEntry>& turns;  // oldest first
  const std::string& text;                            // the user's
};

class ZEACall {
 public:
  explicit ZEACall(const ZEACallContext& context)
      : properties(context.properties), session_(context.session), memory_(context.memory) {}
  virtual ~ZEACall() = default;
  ZEACall(const ZEACall&) = delete;
  ZEACall& operator=(const ZEACall&) = delete;

  /// Sends the user's text and returns the reply, which the caller owns, or null and the text of the failure. The
  /// memory receives both turns when the reply has been understood, and nothing otherwise.
  std::pair<IZEAMessage*, std::string> sendMessage(const std::string& text) const;

  /// Returns the provider's models, or an empty list and the text of the failure.
  std::pair<std::vector<std::string>, std::string> listModels() const;

  std::string chatURL() const { return urlOf(chatPath()); }
  std::string listingURL() const { return urlOf(listingPath()); }

 protected:
  // Steps of both operations.

  /// Query parameters, wiped after the call. Default: none.
  virtual CMRestParamList query() const { return {}; }
  /// The provider's own words of a failed response; empty when it has none. Default: `extractErrorText`.
  virtual std::string providerText(const CMRestResourceResponse& response) const;

  // Steps of a message, in the order in which they are called.

  /// The path after the host. Called for the request and for each of the library's own failure texts.
  virtual ZEAPath chatPath() const = 0;
  /// Whether a message can be sent at all. Default: when there is a model.
  virtual bool hasUsableModel() const { return !properties.model.empty(); }
  /// Fills the body, an empty object. It calls `writeTurns` after the system prompt.
  virtual void writeBody(COJson& body, const ZEAPrompt& prompt) const = 0;
  /// Fills the item of one turn. The body views the text. Default: "role", which is "assistant" or "user", and
  /// "content".
  virtual void writeTurn(COJsonValue& item, bool isAssistant, qx::KeptText text) const;
  /// The reply's text out of a body; nothing when its form is not supported.
  virtual std::optional<std::string> readReply(const COJsonValue& body) const = 0;

  // Steps of a listing, in the order in which they are called.

  virtual ZEAPath listingPath() const = 0;
  /// The text with which the listing ends before its models are read, perhaps an empty one; nothing when it goes on,
  /// and then a body that is no JSON text ends it. Default: `transportFirst`; the other order is `bodyFirst`.
  virtual std::optional<std::string> checkListing(const ZEAAnswer& answer) const;
  /// Called by `bodyFirst`: the text with which an error in the body ends the listing; nothing when there is none.
  /// Default: an "error" member of any kind, told by `providerText`.
  virtual std::optional<std::string> errorInBody(const COJsonValue& body, const ZEAAnswer& answer) const;
  /// The names of the models; nothing when the form of the body is not supported.
  virtual std::optional<std::vector<std::string>> readModels(const COJsonValue& body) const = 0;

  // What the steps are made of.

  /// A failed transfer ends the listing, whatever the body says.
  std::optional<std::string> transportFirst(const ZEAAnswer& answer) const;
  /// An error in the body ends the listing, whatever became of the transfer, which counts only where there is no JSON.
  std::optional<std::string> bodyFirst(const ZEAAnswer& answer) const;
  /// `providerText`, or the transport's where the provider has none.
  std::string providerOrTransportText(const ZEAAnswer& answer) const;

  /// Adds "temperature", if it is to be sent.
  void writeTemperature(COJsonValue& object) const;
  /// Adds an item with the instructions in the given role, if there are any.
  static void writeInstructions(COJsonValue& array, const char* role, const ZEAPrompt& prompt);
  /// Adds an item per remembered turn and one for the user's text.
  void writeTurns(COJsonValue& array, const ZEAPrompt& prompt) const;

  /// A model and when it was made.
  struct DatedModel {
    std::int32_t date;
    std::string name;
  };
  /// The names, those of greater dates first, those of one date in the order given.
  static std::vector<std::string> newestFirst(std::vector<DatedModel> models);

  const ZEAAssistantProperties& properties;

 private:
  std::string makeBody(const std::string& text) const;
  std::string urlOf(ZEAPath path) const;
  std::pair<IZEAMessage*, std::string> failedMessage(const char* text) const;
  std::unique_ptr<IZEAMessage> remember(const std::string& text, std::string reply) const;

  CMRestSession& session_;
  IZEAAssistantMemory& memory_;
};
