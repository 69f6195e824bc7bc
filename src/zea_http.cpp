// SPDX-License-Identifier: Apache-2.0
#include "zea_http.h"

#include <cstdint>
#include <memory>

#include "qx/app_factory.h"
#include "qx/defer.h"
#include "qx/rest_client.h"
#include "qx/rest_error.h"
#include "zea_globals.h"

namespace zea {

namespace {

constexpr std::uint64_t kRequestTag = 0x7AF634CA;  // the same for both methods

/// What both methods have in common; `prepare` adds what the method's request has of its own, `run` makes the call.
template <class Request, class Prepare, class Run>
HTTP::Result perform(CMRestSession* session, const std::string& URL, const CMRestParamList& query,
                     const CMRestParamList& headers, Prepare prepare, Run run) {
  auto* const request = new Request;
  const CODefer freeRequest([request] { delete request; });
  request->requestTag = kRequestTag;
  request->setURL(URL);
  prepare(*request);
  if (!query.empty()) request->addQueryParams(query);
  if (!headers.empty()) request->addHeaderParams(headers);

  ICSAppFactory* const factory = QX::obtainAppFactory();
  ICSRestClient* const client =
      factory->obtainRestClientFactory()->createRestClient(factory, &gRestSettings(), session);
  const CODefer freeClient([client] { delete client; });

  CMRestResourceResponse* received = nullptr;
  const std::int32_t code = run(*client, request, &received);
  std::unique_ptr<CMRestResourceResponse> response(received);
  std::string failure;
  if (code != 0) {
    failure = factory->obtainErrorService()->obtainErrorTranslator()->translateError(code).message;
  }
  return {response.release(), std::move(failure)};
}

}  // namespace

HTTP::Result HTTP::Get(CMRestSession* session, const std::string& URL, const CMRestParamList& query,
                       const CMRestParamList& headers) {
  return perform<CMRestGetRequest>(
      session, URL, query, headers, [](CMRestGetRequest&) {},
      [](ICSRestClient& client, CMRestGetRequest* request, CMRestResourceResponse** response) {
        return client.restGet(request, response);
      });
}

HTTP::Result HTTP::Post(CMRestSession* session, const std::string& URL, ICOJsonValue* body,
                        const CMRestParamList& query, const CMRestParamList& headers) {
  return perform<CMRestPostRequest>(
      session, URL, query, headers,
      [body](CMRestPostRequest& request) {
        if (body != nullptr) request.updateJson(body);
      },
      [](ICSRestClient& client, CMRestPostRequest* request, CMRestResourceResponse** response) {
        return client.restPost(request, response);
      });
}

}  // namespace zea
