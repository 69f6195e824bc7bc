// SPDX-License-Identifier: Apache-2.0
#include "thread_signals.h"

namespace zeakit {

// Windows interrupts no thread with a signal: it starts one for it.
struct SignalsBlocked::Former {};

SignalsBlocked::SignalsBlocked() = default;
SignalsBlocked::~SignalsBlocked() = default;

}  // namespace zeakit
