// SPDX-License-Identifier: Apache-2.0
#include "console/http_settings.h"

#include <zea/zea.h>

#include <cstdlib>
#include <initializer_list>
#include <string>

namespace console {

namespace {

/// The option's text, or the first variable that is set.
std::string textOf(const std::string& option, std::initializer_list<const char*> variables) {
  if (!option.empty()) return option;
  for (const char* const variable : variables) {
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return {};
}

}  // namespace

void applyHttpSettings(const ConsoleOptions& options) {
  CMRestGlobalSettings settings;
  settings.proxyURL = textOf(options.proxy, {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"});
  const std::string direct = textOf(options.noProxy, {"no_proxy", "NO_PROXY"});
  if (direct == "*") {
    settings.proxyBypass = direct;  // means every host by itself only
  } else if (!direct.empty()) {
    settings.proxyBypass += "," + direct;  // this machine is always reached directly
  }
  settings.caFile = textOf(options.caFile, {"SSL_CERT_FILE"});
  if (options.timeoutSeconds) settings.requestTimeoutMs = std::int64_t{1000} * *options.timeoutSeconds;
  ZEASetHTTPSettings(settings);
}

}  // namespace console
