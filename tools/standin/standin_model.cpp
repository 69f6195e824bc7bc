// SPDX-License-Identifier: Apache-2.0
#include "standin/standin_model.h"

#include <memory>
#include <utility>

#include "standin/formats.h"
#include "standin/standin_words.h"

namespace standin {

namespace {

Reply replyWith(const COJson& body, int status = 200) {
  Reply reply;
  reply.status = status;
  reply.body = body.obtainJsonString();
  return reply;
}

Reply refuse(const WireFormat& format, const Refusal& refusal) {
  COJson body;
  format.writeRefusal(refusal, body);
  return replyWith(body, format.statusOf(refusal.fault()));
}

Reply list(const WireFormat& format) {
  COJson body;
  format.writeListing({{"standin-small", 1'700'000'000}, {"standin-large", 1'750'000'000}}, body);
  return replyWith(body);
}

Reply converse(const WireFormat& format, const Request& request) {
  const COJson body(request.body);
  if (!body.getIsValidJson()) throw Refusal("We could not parse the JSON body of your request.");
  const Conversation conversation = format.readChat(request, body);
  COJson answer;
  format.writeReply(conversation, composeAnswer(conversation), answer);
  return replyWith(answer);
}

Reply answer(const WireFormat& format, Operation operation, const Request& request) {
  try {
    format.checkCredentials(request);
    return operation == Operation::Listing ? list(format) : converse(format, request);
  } catch (const Refusal& refusal) {
    return refuse(format, refusal);
  }
}

}  // namespace

Reply answerAsModel(const Request& request) {
  for (const auto& format : createFormats()) {
    if (const auto operation = format->operationOf(request)) return answer(*format, *operation, request);
  }
  return refuse(*createOpenAiFormat(),
                Refusal("Invalid URL (" + request.method + " " + pathOf(request) + ")", Fault::NotFound));
}

std::optional<std::string> questionOf(const Request& request) {
  const COJson body(request.body);
  if (!body.getIsValidJson()) return std::nullopt;
  for (const auto& format : createFormats()) {
    if (format->operationOf(request) != Operation::Chat) continue;
    try {
      return format->readChat(request, body).question;
    } catch (const Refusal&) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

Reply answerWith(const Request& request, int status, const std::string& text) {
  std::unique_ptr<WireFormat> format = createOpenAiFormat();
  for (auto& one : createFormats()) {
    if (one->operationOf(request)) {
      format = std::move(one);
      break;
    }
  }
  COJson body;
  constexpr int firstFailure = 400;
  if (status >= firstFailure) {
    format->writeRefusal(Refusal(text), body);
  } else {
    Conversation conversation;
    conversation.model = "standin-rules";
    format->writeReply(conversation, text, body);
  }
  return replyWith(body, status);
}

std::string describePaths() {
  std::string text;
  for (const auto& format : createFormats()) {
    const Endpoints paths = format->endpoints();
    text += "  POST " + std::string(paths.chat);
    if (!paths.listing.empty()) text += ", GET " + std::string(paths.listing);
    text += " (" + std::string(paths.providers) + ")\n";
  }
  return text;
}

}  // namespace standin
