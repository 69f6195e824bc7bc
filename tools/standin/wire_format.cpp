// SPDX-License-Identifier: Apache-2.0
#include "standin/wire_format.h"

#include "standin/format_parts.h"

namespace standin {

std::optional<Operation> WireFormat::operationOf(const Request& request) const {
  if (!claims(request)) return std::nullopt;
  const std::string path = pathOf(request);
  if (request.method == "POST" && isChatPath(path)) return Operation::Chat;
  if (request.method == "GET" && path == endpoints().listing) return Operation::Listing;
  return std::nullopt;
}

Conversation WireFormat::readChat(const Request& request, const COJsonValue& body) const {
  Conversation conversation;
  conversation.model = readModel(request, body);
  checkSettings(body);
  conversation.system = readSystem(body);
  const COJsonValue& turns = requireMember(body, turnsMember(), COJsonValueType::Array);
  const std::size_t count = turns.obtainArraySize();
  if (count == 0) throw Refusal("Invalid '" + std::string(turnsMember()) + "': empty array.");
  for (std::size_t index = 0; index < count; ++index) {
    takeTurn(*turns.obtainArrayItem(index), index + 1 == count, conversation);
  }
  return conversation;
}

void WireFormat::takeTurn(const COJsonValue& turn, bool isLast, Conversation& conversation) const {
  const std::string role = requireText(turn, "role");
  const std::string text = readText(turn);
  if (isInstruction(role)) {
    if (!conversation.system.empty()) conversation.system += '\n';
    conversation.system += text;
  } else if (!isTurn(role)) {
    throw Refusal("Invalid 'role': '" + role + "' is none that is known here.");
  } else if (isLast) {
    conversation.question = text;
  } else {
    ++conversation.earlierTurns;
  }
}

int WireFormat::statusOf(Fault fault) const {
  if (fault == Fault::NotFound) return 404;
  return fault == Fault::NoCredentials ? 401 : 400;
}

bool WireFormat::claims(const Request&) const { return true; }

bool WireFormat::isChatPath(const std::string& path) const { return path == endpoints().chat; }

std::string WireFormat::readModel(const Request&, const COJsonValue& body) const {
  std::string model = requireText(body, "model");
  if (model.empty()) throw Refusal("Invalid 'model': empty string.");
  return model;
}

std::string WireFormat::readSystem(const COJsonValue&) const { return {}; }

std::string_view WireFormat::turnsMember() const { return "messages"; }

std::string WireFormat::readText(const COJsonValue& turn) const { return requireText(turn, "content"); }

bool WireFormat::isInstruction(std::string_view role) const { return role == "system"; }

bool WireFormat::isTurn(std::string_view role) const { return role == "user" || role == "assistant"; }

std::string pathOf(const Request& request) {
  std::string target = request.target;
  // As a proxy is asked: with the host in front.
  const std::size_t host = target.find("://");
  if (host != target.npos && host < target.find_first_of("/?")) target.erase(0, target.find('/', host + 3));
  return target.substr(0, target.find('?'));
}

}  // namespace standin
