// SPDX-License-Identifier: Apache-2.0
// Strings, cancelling, settings, localisation.
#include <zea/zea_version.h>

#include <cstring>

#include "handles.h"

using namespace zeac;

namespace {

// As the callback of the library: set while no request is running.
zeac_localizer localizer = nullptr;
void* localizerContext = nullptr;

void localize(const char* request, void* data) {
  if (std::strcmp(request, "ZEALocalizeString") != 0) return;
  auto* const info = static_cast<ZEACallbackLocalizationInfo*>(data);
  // Into a place of its own: a function that writes and then declines must leave no half of a text.
  char translated[sizeof(info->localizedText)] = {};
  if (localizer(localizerContext, info->sourceText, translated, sizeof(translated)) == 0) return;
  translated[sizeof(translated) - 1] = '\0';
  std::memcpy(info->localizedText, translated, sizeof(translated));
}

}  // namespace

uint32_t zeac_version(void) { return ZEA_VERSION_NUMBER; }

const char* zeac_version_text(void) { return ZEA_VERSION; }

zeac_text zeac_string_text(const zeac_string* string) { return string == nullptr ? textOf("") : textOf(string->text); }

void zeac_string_free(zeac_string* string) { delete string; }

size_t zeac_strings_count(const zeac_strings* strings) { return strings == nullptr ? 0 : strings->texts.size(); }

zeac_text zeac_strings_at(const zeac_strings* strings, size_t index) {
  return index < zeac_strings_count(strings) ? textOf(strings->texts[index]) : textOf("");
}

void zeac_strings_free(zeac_strings* strings) { delete strings; }

int32_t zeac_cancel_create(zeac_cancel** cancel) {
  return guard(nullptr, [&] { Result<zeac_cancel>(cancel).give({std::make_shared<QXCancelSource>()}); });
}

void zeac_cancel_now(zeac_cancel* cancel) {
  if (cancel != nullptr) cancel->source->cancel();
}

void zeac_cancel_free(zeac_cancel* cancel) { delete cancel; }

int32_t zeac_set_http_settings(const zeac_http_settings* settings) {
  return guard(nullptr, [&] {
    const zeac_http_settings& given = requireRecord(settings);
    CMRestGlobalSettings set;
    if (given.connect_timeout_ms > 0) set.connectTimeoutMs = given.connect_timeout_ms;
    if (given.request_timeout_ms > 0) set.requestTimeoutMs = given.request_timeout_ms;
    if (given.has_no_time_limit != 0) set.requestTimeoutMs = 0;
    if (given.max_response_bytes > 0) set.maxResponseBytes = given.max_response_bytes;
    set.proxyURL = stringOf(given.proxy_url);
    if (given.proxy_bypass.size > 0) set.proxyBypass = stringOf(given.proxy_bypass);
    set.caFile = stringOf(given.ca_file);
    if (given.user_agent.size > 0) set.userAgent = stringOf(given.user_agent);
    ZEASetHTTPSettings(set);
  });
}

void zeac_set_localizer(zeac_localizer function, void* context) {
  localizer = function;
  localizerContext = context;
  ZEARegisterCallback(function == nullptr ? nullptr : localize);
}

int32_t zeac_mask_secret(zeac_text text, zeac_text secret, zeac_string** masked) {
  return guard(nullptr, [&] {
    Result<zeac_string> result(masked);
    result.give({qxMaskSecret(stringOf(text), stringOf(secret))});
  });
}
