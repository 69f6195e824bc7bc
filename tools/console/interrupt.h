// Ctrl-C: it ends a question or clears a line, and never a chat at a terminal.
#pragma once

#include <zea/zea.h>

#include <memory>

namespace console {

/// While one lives, Ctrl-C cancels the call that runs through the source, and nothing else. One at a time.
class CancelOnInterrupt {
 public:
  explicit CancelOnInterrupt(std::shared_ptr<QXCancelSource> source);
  ~CancelOnInterrupt();
  CancelOnInterrupt(const CancelOnInterrupt&) = delete;
  CancelOnInterrupt& operator=(const CancelOnInterrupt&) = delete;

 private:
  struct Former;
  std::shared_ptr<QXCancelSource> source_;
  std::unique_ptr<Former> former_;
};

}  // namespace console
