// A conversation, line by line.
#pragma once

#include <zeakit/read_only_runner.h>

#include <functional>
#include <memory>
#include "console/failure.h"

#include "console/session.h"

namespace console {

/// Answers the lines of standard input until they end or one of them is "/quit". A question that fails is told on
/// standard error and the conversation goes on. Gives `Success` when standard input is a terminal, where the user has
/// seen what failed; otherwise the code of the last question.
/// `openRunner` is called when the first statement is to be run, and may throw `Failure`.
ExitCode runChat(Session& session, std::function<std::unique_ptr<zeakit::IReadOnlyRunner>()> openRunner);

}  // namespace console
