// SPDX-License-Identifier: Apache-2.0
// Signals that a thread of ours leaves to the host's.
#pragma once

#include <memory>

namespace zeakit {

/// Blocks all signals in the thread that makes it, until its end. A thread that is started meanwhile keeps them
/// blocked.
class SignalsBlocked {
 public:
  SignalsBlocked();
  ~SignalsBlocked();
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  struct Former;
  std::unique_ptr<Former> former_;
};

}  // namespace zeakit
