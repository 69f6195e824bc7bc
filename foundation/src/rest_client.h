// SPDX-License-Identifier: Apache-2.0
// The service of the process that makes REST clients.
#pragma once

#include "qx/rest_client.h"

namespace qx {

/// As the app factory hands it out. Not owned; never null, never destroyed.
ICSRestClientFactory* obtainRestClientFactoryInstance();

}  // namespace qx
