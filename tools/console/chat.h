// SPDX-License-Identifier: Apache-2.0
// A conversation, line by line.
#pragma once

#include "console/database.h"
#include "console/failure.h"
#include "console/session.h"

namespace console {

/// Answers the lines of standard input until they end or one of them is "/quit". A question that fails is told on
/// standard error and the conversation goes on. Gives `Success` when standard input is a terminal, where the user has
/// seen what failed; otherwise the code of the last question. `keepsLines`: what is typed at a terminal is there at the
/// next start, too.
ExitCode runChat(Session& session, Database& database, bool keepsLines);

}  // namespace console
