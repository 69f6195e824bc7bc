// SPDX-License-Identifier: Apache-2.0
// A scope guard.
#pragma once

#include <functional>
#include <utility>

/// Calls a function once, at the end of the scope that it stands in, also during unwinding. The function must not
/// throw. An empty function is skipped.
class CODefer {
 public:
  explicit CODefer(std::function<void()> atEnd) : atEnd_(std::move(atEnd)) {}
  ~CODefer() {
    if (atEnd_) atEnd_();
  }
  CODefer(const CODefer&) = delete;
  CODefer& operator=(const CODefer&) = delete;

 private:
  std::function<void()> atEnd_;
};
