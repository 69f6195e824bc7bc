// SPDX-License-Identifier: Apache-2.0
// What sets one provider's wire format apart from another's, as the stand-in needs it.
#pragma once

#include <qx/qx.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
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

struct ModelDescription {
  std::string name;
  std::int32_t createdAt;  // seconds since the epoch
};

enum class Operation { Chat, Listing };

/// What is wrong with a request that is not answered. Each format has its own status and words for it.
enum class Fault { BadRequest, NoCredentials, NotFound };

class Refusal : public std::runtime_error {
 public:
  explicit Refusal(const std::string& message, Fault fault = Fault::BadRequest)
      : std::runtime_error(message), fault_(fault) {}
  Fault fault() const noexcept { return fault_; }

 private:
  Fault fault_;
};

/// Where a format is spoken.
struct Endpoints {
  std::string_view providers;  // for people
  std::string_view chat;
  std::string_view listing;  // empty: none
};

/// A wire format. Implementations have no state; any thread may use one. All are stricter than the library needs, so
/// that a malformed request does not go unnoticed.
class WireFormat {
 public:
  virtual ~WireFormat() = default;

  virtual Endpoints endpoints() const = 0;

  /// What the request asks for; nothing when it is none of this format. Neither credentials nor body are checked.
  std::optional<Operation> operationOf(const Request& request) const;

  /// Throws `Refusal` unless the request carries a key in the way of the format, whatever the key is.
  virtual void checkCredentials(const Request& request) const = 0;

  /// Reads a chat request. Throws `Refusal`. REQUIRES: `operationOf` gave `Chat`, and the body is well-formed.
  Conversation readChat(const Request& request, const COJsonValue& body) const;

  /// Fill a new document.
  virtual void writeReply(const Conversation& conversation, const std::string& text, COJson& reply) const = 0;
  virtual void writeListing(const std::vector<ModelDescription>& models, COJson& reply) const = 0;
  virtual void writeRefusal(const Refusal& refusal, COJson& reply) const = 0;

  /// The HTTP status of a refusal: 400, 401 or 404.
  virtual int statusOf(Fault fault) const;

 protected:
  /// Whether a request to one of the paths is of this format, where another one has the path too. By default it is.
  virtual bool claims(const Request& request) const;
  /// By default, whether it is the one of `endpoints`.
  virtual bool isChatPath(const std::string& path) const;
  /// The model's name; by default the body's "model".
  virtual std::string readModel(const Request& request, const COJsonValue& body) const;
  /// Throws `Refusal` for a setting that the provider would not take.
  virtual void checkSettings(const COJsonValue& body) const = 0;
  /// A system prompt that is no turn; by default there is none.
  virtual std::string readSystem(const COJsonValue& body) const;
  /// The member with the turns; by default "messages".
  virtual std::string_view turnsMember() const;
  /// The text of a turn; by default its "content".
  virtual std::string readText(const COJsonValue& turn) const;
  /// Whether a turn of that role belongs to the system prompt; by default for "system".
  virtual bool isInstruction(std::string_view role) const;
  /// Whether a turn of that role is the user's or the assistant's; by default for "user" and "assistant".
  virtual bool isTurn(std::string_view role) const;

 private:
  void takeTurn(const COJsonValue& turn, bool isLast, Conversation& conversation) const;
};

/// The path of the request's target, without the query, and without the host that stands ahead of it for a proxy.
std::string pathOf(const Request& request);

}  // namespace standin
