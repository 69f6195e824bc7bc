// SPDX-License-Identifier: Apache-2.0
#include "qx/version.h"

const char* qxObtainVersion() noexcept { return QX_VERSION; }
