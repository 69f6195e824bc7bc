// SPDX-License-Identifier: Apache-2.0
// Bytes as all that a server says, to the REST client.
#include <qx/qx.h>

#include <memory>

#include "check.h"
#include "loopback/answering_server.h"

namespace {

struct Answer {
  std::int32_t code;
  std::unique_ptr<CMRestResourceResponse> response;
};

Answer get(const std::string& url, CMRestSession& session) {
  CMRestGlobalSettings settings;
  settings.requestTimeoutMs = 2000;  // nothing should last that long: the server has ended
  settings.maxResponseBytes = 1U << 20U;
  CMRestGetRequest request;
  request.setURL(url);
  ICSAppFactory* const factory = QX::obtainAppFactory();
  const std::unique_ptr<ICSRestClient> client(
      factory->obtainRestClientFactory()->createRestClient(factory, &settings, &session));
  CMRestResourceResponse* response = nullptr;
  const std::int32_t code = client->restGet(&request, &response);
  return {code, std::unique_ptr<CMRestResourceResponse>(response)};
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static loopback::AnsweringServer& server = *new loopback::AnsweringServer;
  static ICSHTTPPoolCenter& pool = *QX::createHTTPPoolCenter();
  CMRestSession session;
  session.poolCenter = &pool;

  server.setReply(textOf(data, size), true);
  const Answer answer = get(server.url(), session);
  server.setReply("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nfine", false);
  const Answer next = get(server.url(), session);

  const bool isStatus = answer.code >= 100 && answer.code <= 999;
  check(answer.response != nullptr, "there is always a response");
  check(answer.code == CMRestCode::Success || isStatus || answer.response->getBufferString().empty(),
        "a failed transfer's response is empty");
  check(answer.code != CMRestCode::RequestTimedOut, "a call ends with its connection");
  const auto message =
      QX::obtainAppFactory()->obtainErrorService()->obtainErrorTranslator()->translateError(answer.code);
  check(answer.code == CMRestCode::Success || !message.message.empty(), "each failure has a sentence");
  check(next.code == CMRestCode::Success && next.response->getBufferString() == "fine", "the next call is a new one");
  return 0;
}
