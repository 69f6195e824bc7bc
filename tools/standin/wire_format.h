// What sets one provider's wire format apart from another's, as the stand-in needs it.
#pragma once

#include <qx/qx.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "standin/zea_standin.h"

namespace standin {

/// A chat request, whatever the format it came in.
struct Conversation {
  std::string model;
  std::string system;            // the system prompt; empty when there was none
  std::size_t earlierTurns = 0;  // those of the user and of the assistant ahead of the question
  std::string question;
};

/// Why a request is not answered.
struct Refusal {
  int status;
  std::string kind;  // the provider's word for it, such as "invalid_request_error"
  std::string message;
};

struct ModelDescription {
  std::string name;
  std::int32_t createdAt;  // seconds since the epoch
};

enum class Operation { Chat, Listing };

/// A wire format. Implementations have no state; any thread may use one. The write operations fill a new document.
class WireFormat {
 public:
  virtual ~WireFormat() = default;

  /// What the request asks for; nothing when it is none of this format. Credentials and body are not looked at, but
  /// header names may be, where two formats have a path in common.
  virtual std::optional<Operation> operationOf(const Request& request) const = 0;

  /// Whether the request carries a key in the way of the format, whatever the key is.
  virtual bool hasCredentials(const Request& request) const = 0;

  /// Reads a chat request. REQUIRES: `operationOf` gave `Chat`, and the body is well-formed.
  virtual std::variant<Conversation, Refusal> readChat(const Request& request, const COJsonValue& body) const = 0;

  virtual void writeReply(const Conversation& conversation, const std::string& text, COJson& reply) const = 0;
  virtual void writeListing(const std::vector<ModelDescription>& models, COJson& reply) const = 0;
  virtual void writeRefusal(const Refusal& refusal, COJson& reply) const = 0;
};

/// The path of the request's target, without the query.
std::string pathOf(const Request& request);

}  // namespace standin
