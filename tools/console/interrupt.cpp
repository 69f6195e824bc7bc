#include "console/interrupt.h"

#include <signal.h>

#include <atomic>
#include <utility>

namespace console {

namespace {

std::atomic<QXCancelSource*> running = nullptr;
static_assert(std::atomic<QXCancelSource*>::is_always_lock_free, "a signal handler reads it");

void cancelRunning(int) {
  if (QXCancelSource* const source = running) source->cancel();
}

}  // namespace

struct CancelOnInterrupt::Former {
  struct sigaction action;
};

CancelOnInterrupt::CancelOnInterrupt(std::shared_ptr<QXCancelSource> source)
    : source_(std::move(source)), former_(std::make_unique<Former>()) {
  running = source_.get();
  struct sigaction action {};
  action.sa_handler = cancelRunning;
  action.sa_flags = SA_RESTART;
  static_cast<void>(sigaction(SIGINT, &action, &former_->action));  // the signal exists
}

CancelOnInterrupt::~CancelOnInterrupt() {
  static_cast<void>(sigaction(SIGINT, &former_->action, nullptr));
  running = nullptr;
}

}  // namespace console
