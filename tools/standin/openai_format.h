// The OpenAI chat-completions format.
#pragma once

#include "standin/wire_format.h"

namespace standin {

/// POST "/v1/chat/completions" and GET "/v1/models", with "Authorization: Bearer ...". Any prefix may stand in front of
/// the path. Stricter than a provider need be, so that a malformed request does not go unnoticed.
class OpenAiFormat : public WireFormat {
 public:
  std::optional<Operation> operationOf(const Request& request) const override;
  bool hasCredentials(const Request& request) const override;
  std::variant<Conversation, Refusal> readChat(const Request& request, const COJsonValue& body) const override;
  void writeReply(const Conversation& conversation, const std::string& text, COJson& reply) const override;
  void writeListing(const std::vector<ModelDescription>& models, COJson& reply) const override;
  void writeRefusal(const Refusal& refusal, COJson& reply) const override;
};

}  // namespace standin
