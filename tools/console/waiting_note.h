// SPDX-License-Identifier: Apache-2.0
// How long somebody has waited.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace console {

/// While one lives, a terminal on standard error shows the seconds since then, from the first one on; nothing is left
/// of that afterwards. Without a terminal it does nothing.
class WaitingNote {
 public:
  WaitingNote();
  ~WaitingNote();
  WaitingNote(const WaitingNote&) = delete;
  WaitingNote& operator=(const WaitingNote&) = delete;

 private:
  void show();

  std::mutex mutex_;
  std::condition_variable ended_;
  bool isEnded_ = false;
  std::thread thread_;
};

}  // namespace console
