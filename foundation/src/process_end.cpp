#include "qx/internal/process_end.h"

#include <atomic>
#include <cstdlib>

namespace {

constinit std::atomic<bool> gIsEnding{false};

// libqx stays loaded until the process ends: nothing but that end calls this.
void noteProcessEnd() { gIsEnding = true; }

}  // namespace

void qx::watchForProcessEnd() noexcept {
  if (std::atexit(noteProcessEnd) != 0) gIsEnding = true;
}

bool qx::isProcessEnding() noexcept { return gIsEnding; }
