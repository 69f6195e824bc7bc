// SPDX-License-Identifier: Apache-2.0
// The two objects that live as long as the module. Both are read and written without a guard: a host sets them while
// no request is running.
#pragma once

#include "qx/rest_settings.h"
#include "zea/zea_callback.h"

namespace zea {

/// The host's callback; null when none is registered.
extern ZEACallback gCallback;

/// The HTTP settings that every request reads when it begins. They come to life at their first use, which may be ahead
/// of this library's own static objects, and go when the library is unloaded. A process that ends keeps them: its
/// static objects and threads may still use the library.
CMRestGlobalSettings& gRestSettings();

}  // namespace zea
