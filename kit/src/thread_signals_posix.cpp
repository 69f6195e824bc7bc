// SPDX-License-Identifier: Apache-2.0
#include <pthread.h>
#include <signal.h>

#include "thread_signals.h"

namespace zeakit {

struct SignalsBlocked::Former {
  sigset_t signals;
};

SignalsBlocked::SignalsBlocked() : former_(new Former()) {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &former_->signals);  // fails for a wrong first argument only
}
SignalsBlocked::~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &former_->signals, nullptr); }

}  // namespace zeakit
