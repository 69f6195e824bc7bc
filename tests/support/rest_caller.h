// SPDX-License-Identifier: Apache-2.0
// A host's side of calls, and the plainest of replies.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "qx/qx.h"

namespace support {

struct Answer {
  std::int32_t code;
  std::unique_ptr<CMRestResourceResponse> response;
  std::string body() const { return response->getBufferString(); }
};

/// A host's side: settings, a session and a pool.
struct Caller {
  CMRestGlobalSettings settings;
  CMRestSession session;
  std::shared_ptr<QXCancelSource> cancelSource = std::make_shared<QXCancelSource>();
  std::unique_ptr<ICSHTTPPoolCenter> pool{QX::createHTTPPoolCenter(cancelSource)};

  Caller() { session.poolCenter = pool.get(); }
  Answer get(const std::string& url, CMRestParamList query = {}, CMRestParamList headers = {}) {
    CMRestGetRequest request;
    request.addQueryParams(std::move(query));
    request.addHeaderParams(std::move(headers));
    return call(&ICSRestClient::restGet, request, url);
  }
  Answer post(const std::string& url, ICOJsonValue* body) {
    CMRestPostRequest request;
    request.updateJson(body);
    return call(&ICSRestClient::restPost, request, url);
  }
  template <typename Method, typename Request>
  Answer call(Method method, Request& request, const std::string& url) {
    request.setURL(url);
    ICSAppFactory* const factory = QX::obtainAppFactory();
    const std::unique_ptr<ICSRestClient> client(
        factory->obtainRestClientFactory()->createRestClient(factory, &settings, &session));
    CMRestResourceResponse* response = nullptr;
    const std::int32_t code = (client.get()->*method)(&request, &response);
    return {code, std::unique_ptr<CMRestResourceResponse>(response)};
  }
};

inline std::string messageOf(std::int32_t code) {
  return QX::obtainAppFactory()->obtainErrorService()->obtainErrorTranslator()->translateError(code).message;
}

/// A head that goes on with `rest`.
inline std::string ok(const std::string& rest) { return "HTTP/1.1 200 OK\r\n" + rest; }

inline std::string okReply(const std::string& body) {
  return ok("Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
}

}  // namespace support
