// SPDX-License-Identifier: Apache-2.0
// The date service of the process.
#pragma once

#include "qx/date_time.h"

namespace qx {

/// As the app factory hands it out. Not owned; never null, never destroyed.
ICSDateTimeService* obtainDateTimeServiceInstance();

}  // namespace qx
