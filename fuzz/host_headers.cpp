// SPDX-License-Identifier: Apache-2.0
// What a user typed, on its way into a request: the host, two header values, a query value and the user agent,
// separated by 0x1E. The loopback server plays the proxy, so that whatever host it is, the request arrives there.
#include <qx/qx.h>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "check.h"
#include "loopback/answering_server.h"

namespace {

constexpr std::string_view kLineEnd = "\r\n";

bool isPlain(char c) { return static_cast<unsigned char>(c) > 0x20 && c != 0x7F; }

void checkRequestLine(std::string_view line) {
  constexpr std::string_view kVersion = " HTTP/1.1";
  const std::size_t methodSize = line.find(' ') + 1;
  const std::string_view method = line.substr(0, methodSize);
  check(method == "GET " || method == "CONNECT ", "the method is ours");
  check(line.size() > methodSize + kVersion.size() && line.substr(line.size() - kVersion.size()) == kVersion,
        "the line ends in the version");
  const std::string_view target = line.substr(methodSize, line.size() - methodSize - kVersion.size());
  check(std::all_of(target.begin(), target.end(), isPlain), "the target has neither spaces nor controls");
}

void checkHeader(std::string_view line, std::vector<std::string_view>& seen) {
  static constexpr std::array<std::string_view, 8> kNames = {
      "Host",   "Authorization",   "x-api-key",        "User-Agent",
      "Accept", "Accept-Encoding", "Proxy-Connection", "Content-Type"};
  const std::string_view name = line.substr(0, line.find(':'));
  check(std::find(kNames.begin(), kNames.end(), name) != kNames.end(), "no header but ours");
  check(std::find(seen.begin(), seen.end(), name) == seen.end(), "each header once");
  check(std::none_of(line.begin(), line.end(), [](char c) { return (c >= 0 && c < 0x20 && c != '\t') || c == 0x7F; }),
        "no controls in a header");
  seen.push_back(name);
}

void checkRequest(std::string_view text) {
  const std::size_t headSize = text.find("\r\n\r\n");
  check(headSize != std::string_view::npos && headSize + 4 == text.size(), "one request and nothing after it");
  std::vector<std::string_view> seen;
  bool isFirst = true;
  for (std::string_view rest = text.substr(0, headSize + 2); !rest.empty();) {
    const std::size_t size = rest.find(kLineEnd);
    isFirst ? checkRequestLine(rest.substr(0, size)) : checkHeader(rest.substr(0, size), seen);
    isFirst = false;
    rest.remove_prefix(size + kLineEnd.size());
  }
}

std::array<std::string, 5> fieldsOf(const std::string& input) {
  std::array<std::string, 5> fields;
  std::size_t index = 0;
  for (const char c : input) {
    if (c == '\x1E' && index + 1 < fields.size()) {
      ++index;
    } else {
      fields[index] += c;
    }
  }
  return fields;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static loopback::AnsweringServer& server = *new loopback::AnsweringServer;
  const auto [host, key, otherKey, value, agent] = fieldsOf(textOf(data, size));
  CMRestGlobalSettings settings;
  settings.proxyURL = server.url();
  settings.proxyBypass.clear();
  settings.userAgent = agent;
  CMRestSession session;
  session.setAuthorizationHeaderValue("Bearer " + key);
  session.addHeaderParam("x-api-key", otherKey);
  CMRestGetRequest request;
  request.setURL(qxConcatURL({host, "v1", "models"}));
  request.addQueryParams({{"key", value}});
  const std::size_t before = server.connectionCount();
  // A tunnel is refused too; all that matters of it is how it is asked for.
  server.setReply("HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\n\r\n", true);

  ICSAppFactory* const factory = QX::obtainAppFactory();
  const std::unique_ptr<ICSRestClient> client(
      factory->obtainRestClientFactory()->createRestClient(factory, &settings, &session));
  CMRestResourceResponse* response = nullptr;
  const std::int32_t code = client->restGet(&request, &response);
  delete response;

  const std::string received = server.awaitReceived();
  check(code != CMRestCode::Success, "the refusal is told");
  if (server.connectionCount() != before) checkRequest(received);
  return 0;
}
