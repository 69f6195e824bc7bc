// SPDX-License-Identifier: Apache-2.0
#include "rest_client.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "pool_center.h"
#include "qx/internal/assertion.h"
#include "qx/rest_error.h"
#include "rest_call.h"
#include "rest_headers.h"
#include "rest_url.h"
#include "text_view.h"

namespace qx {

namespace {

constexpr std::string_view kJsonContentType = "application/json";

// Keys travel in parameters too, and what is wrong with a pasted one is found here sooner than by the provider.
bool areSendable(const CMRestParamList& query) {
  return std::all_of(query.begin(), query.end(), [](const auto& param) { return isHeaderValue(trim(param.second)); });
}

/// Holds nothing of a call, so that one client may make many.
class RestClient final : public ICSRestClient {
 public:
  RestClient(const CMRestGlobalSettings* settings, CMRestSession* session) : settings_(settings), session_(session) {}

  std::int32_t restGet(CMRestGetRequest* request, CMRestResourceResponse** response) override {
    clear(response);
    return finish(run(request, "", std::nullopt), response);
  }

  std::int32_t restPost(CMRestPostRequest* request, CMRestResourceResponse** response) override {
    clear(response);
    ICOJsonValue* const json = request != nullptr ? request->obtainJson() : nullptr;
    return finish(run(request, json != nullptr ? kJsonContentType : "",
                      json != nullptr ? json->releaseJsonString() : std::string()),
                  response);
  }

 private:
  // Before anything may throw, a host's own JSON value included.
  static void clear(CMRestResourceResponse** response) noexcept {
    if (response != nullptr) *response = nullptr;
  }

  RestResult run(const CMRestRequest* request, std::string_view contentType, std::optional<std::string> postBody) {
    if (!qxAssert(request != nullptr)) return {CMRestCode::TransferFailed, {}};
    if (!areSendable(request->obtainQueryParams())) return {CMRestCode::InvalidHeader, {}};
    const CMRestParamList none;
    const CMRestGlobalSettings& settings = obtainSettings();
    const RestCall call{*request, session_ != nullptr ? session_->obtainHeaderParams() : none,
                        isSecureURL(request->obtainURL()) || isSecureURL(settings.proxyURL), contentType,
                        std::move(postBody)};
    return performRestCall(call, settings, obtainPool());
  }

  std::int32_t finish(RestResult result, CMRestResourceResponse** response) {
    if (!qxAssert(response != nullptr)) return result.code;
    auto filled = std::make_unique<CMRestResourceResponse>(std::move(result.body), obtainSettings().maxResponseBytes);
    // Known only now: a reply within the limit of bytes may have more values than memory is allowed for.
    if (filled->isTooLarge()) result.code = CMRestCode::ReplyTooLarge;
    noteCode(result.code);
    *response = filled.release();
    return result.code;
  }

  void noteCode(std::int32_t code) const noexcept {
    PoolCenter* const pool = obtainPool();
    CancelState* const state = pool != nullptr ? pool->obtainCancelState() : nullptr;
    if (state != nullptr) state->setLastCode(code);
  }

  const CMRestGlobalSettings& obtainSettings() const {
    if (settings_ != nullptr) return *settings_;
    // Never destroyed: a host's static objects may still make calls while they go.
    static const CMRestGlobalSettings* const defaults = std::make_unique<CMRestGlobalSettings>().release();
    return *defaults;
  }

  PoolCenter* obtainPool() const noexcept {
    return session_ != nullptr ? PoolCenter::obtainFrom(session_->poolCenter) : nullptr;
  }

  const CMRestGlobalSettings* settings_;
  CMRestSession* session_;
};

class RestClientFactory final : public ICSRestClientFactory {
 public:
  ICSRestClient* createRestClient(ICSAppFactory* /*factory*/, const CMRestGlobalSettings* settings,
                                  CMRestSession* session) override {
    return std::make_unique<RestClient>(settings, session).release();
  }
};

}  // namespace

ICSRestClientFactory* obtainRestClientFactoryInstance() {
  // Never destroyed, as the app factory that hands it out.
  static RestClientFactory* const factory = std::make_unique<RestClientFactory>().release();
  return factory;
}

}  // namespace qx

ICSRestClient::~ICSRestClient() = default;
ICSRestClientFactory::~ICSRestClientFactory() = default;
