#include "standin/standin_model.h"

#include <array>

#include "standin/openai_format.h"
#include "standin/standin_words.h"

namespace standin {

namespace {

Reply refuse(const WireFormat& format, const Refusal& refusal) {
  COJson body;
  format.writeRefusal(refusal, body);
  Reply reply;
  reply.status = refusal.status;
  reply.body = body.obtainJsonString();
  return reply;
}

Reply list(const WireFormat& format) {
  COJson body;
  format.writeListing({{"standin-small", 1'700'000'000}, {"standin-large", 1'750'000'000}}, body);
  Reply reply;
  reply.body = body.obtainJsonString();
  return reply;
}

Reply converse(const WireFormat& format, const Request& request) {
  const COJson body(request.body);
  if (!body.getIsValidJson()) {
    return refuse(format, {400, "invalid_request_error", "We could not parse the JSON body of your request."});
  }
  const auto read = format.readChat(request, body);
  if (const auto* refusal = std::get_if<Refusal>(&read)) return refuse(format, *refusal);
  const auto& conversation = std::get<Conversation>(read);
  COJson answer;
  format.writeReply(conversation, composeAnswer(conversation), answer);
  Reply reply;
  reply.body = answer.obtainJsonString();
  return reply;
}

}  // namespace

Reply answerAsModel(const Request& request) {
  const OpenAiFormat openAi;
  const std::array<const WireFormat*, 1> formats = {&openAi};
  for (const WireFormat* format : formats) {
    const auto operation = format->operationOf(request);
    if (!operation) continue;
    if (!format->hasCredentials(request)) {
      return refuse(*format, {401, "authentication_error", "You didn't provide an API key."});
    }
    return *operation == Operation::Listing ? list(*format) : converse(*format, request);
  }
  return refuse(openAi, {404, "invalid_request_error", "Invalid URL (" + request.method + " " + pathOf(request) + ")"});
}

}  // namespace standin
