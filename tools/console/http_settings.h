// SPDX-License-Identifier: Apache-2.0
// How requests travel.
#pragma once

#include "console/console_options.h"

namespace console {

/// Puts the options to use and, for what they don't say, the usual variables of the environment: HTTPS_PROXY,
/// ALL_PROXY, NO_PROXY, each also in lower case, and SSL_CERT_FILE.
void applyHttpSettings(const ConsoleOptions& options);

}  // namespace console
