// SPDX-License-Identifier: Apache-2.0
// Ctrl-C ends what runs, not the program.
#pragma once

#include <qx/qx.h>
#include <signal.h>
#include <zeakit/read_only_runner.h>

#include <memory>
#include <thread>

namespace console {

/// While one lives, Ctrl-C cancels through the source. One at a time.
class CancelOnInterrupt {
 public:
  explicit CancelOnInterrupt(std::shared_ptr<QXCancelSource> source);
  ~CancelOnInterrupt();
  CancelOnInterrupt(const CancelOnInterrupt&) = delete;
  CancelOnInterrupt& operator=(const CancelOnInterrupt&) = delete;

 private:
  std::shared_ptr<QXCancelSource> source_;
  struct sigaction former_ {};
};

/// The same for a statement. The runner outlives this object.
class CancelStatementOnInterrupt {
 public:
  explicit CancelStatementOnInterrupt(zeakit::IReadOnlyRunner& runner);
  ~CancelStatementOnInterrupt();
  CancelStatementOnInterrupt(const CancelStatementOnInterrupt&) = delete;
  CancelStatementOnInterrupt& operator=(const CancelStatementOnInterrupt&) = delete;

 private:
  /// Ctrl-C, and what ends the thread that waits for it, are held back in this thread and those that it starts.
  class HeldSignals {
   public:
    HeldSignals();
    ~HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

   private:
    sigset_t former_{};
  };

  HeldSignals held_;  // before the thread starts
  std::thread waiting_;
};

/// While one lives, Ctrl-C does nothing of its own. What others set about it meanwhile holds until they are gone.
class IgnoredInterrupt {
 public:
  IgnoredInterrupt();
  ~IgnoredInterrupt();
  IgnoredInterrupt(const IgnoredInterrupt&) = delete;
  IgnoredInterrupt& operator=(const IgnoredInterrupt&) = delete;

 private:
  struct sigaction former_ {};
};

}  // namespace console
