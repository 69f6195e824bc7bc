// SPDX-License-Identifier: Apache-2.0
// The service of the process that puts codes into words.
#pragma once

#include "qx/rest_error.h"

namespace qx {

/// As the app factory hands it out. Not owned; never null, never destroyed.
ICSErrorService* obtainErrorServiceInstance();

}  // namespace qx
