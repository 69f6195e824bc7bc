// SPDX-License-Identifier: Apache-2.0
// The OpenAI chat-completions format, with the values of the majority of the providers that speak it.
#pragma once

#include "zea_call.h"

class ZEAOpenAICall : public ZEACall {
 public:
  using ZEACall::ZEACall;

 protected:
  /// Default: "v1", "chat", "completions".
  ZEAPath chatPath() const override;
  /// Default: "v1", "models".
  ZEAPath listingPath() const override;
  /// The role of the item that holds the system prompt. Default: "system".
  virtual const char* instructionsRole() const;
  /// By what a listed model is sorted, greater first; nothing drops the model. Default: its "created".
  virtual std::optional<std::int32_t> sortKey(const COJsonValue& model) const;

  void writeBody(COJson& body, const ZEAPrompt& prompt) const final;
  std::optional<std::string> readReply(const COJsonValue& body) const final;
  std::optional<std::string> checkListing(const ZEAAnswer& answer) const override;
  /// Default: an "error" object ends the listing with its message, or with the transport's text.
  std::optional<std::string> errorInBody(const COJsonValue& body, const ZEAAnswer& answer) const override;
  std::optional<std::vector<std::string>> readModels(const COJsonValue& body) const final;
};
