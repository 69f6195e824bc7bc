// SPDX-License-Identifier: Apache-2.0
// What the user has settled for every start.
#pragma once

#include "console/console_options.h"

namespace console {

/// Fills in what the command line left open: from the environment (ZEA_PROVIDER, ZEA_MODEL, ZEA_HOST, ZEA_DB), then
/// from the file "zea/config" in the user's folder for settings. A model and a host count only for the provider that
/// they stand beside: none that was named closer to the user comes together with a host from further away, which would
/// get a key that is not meant for it. Throws `Failure` for a line of the file that says nothing to the program.
void fillInDefaults(ConsoleOptions& options);

}  // namespace console
