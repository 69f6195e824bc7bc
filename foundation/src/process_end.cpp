// SPDX-License-Identifier: Apache-2.0
#include "qx/internal/process_end.h"

#include <atomic>
#include <cstdlib>

namespace qx {

namespace {

constinit std::atomic<bool> gIsEnding{false};

// libqx stays loaded until the process ends: nothing but that end calls this.
void noteProcessEnd() { gIsEnding = true; }

}  // namespace

void watchForProcessEnd() noexcept {
  if (std::atexit(noteProcessEnd) != 0) gIsEnding = true;
}

bool isProcessEnding() noexcept { return gIsEnding; }

}  // namespace qx
