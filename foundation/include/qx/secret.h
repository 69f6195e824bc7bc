// SPDX-License-Identifier: Apache-2.0
// Keys and passwords: keeping them out of what people see, and out of memory that has been freed.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qx/export.h"

/// The text with "***" in place of every occurrence of the secret, as it is or percent-encoded, whole or in part: each
/// of its characters stands for itself or for its "%XX" in digits of either case, a blank for "+" as well. White space
/// at the ends of the secret doesn't count, since keys are sent without it in headers; an empty or blank secret changes
/// nothing. Any thread may call it. Throws `std::bad_alloc`.
QX_API std::string qxMaskSecret(std::string_view text, std::string_view secret);

/// Overwrites all bytes of the text, those that it keeps after its end included, and leaves it empty. For a text that
/// holds a secret, before it is freed; growing a text leaves its former bytes in freed memory, so one is built in
/// place.
QX_API void qxWipe(std::string& text) noexcept;
/// The same with all names and values of a list, such as `CMRestParamList`.
QX_API void qxWipe(std::vector<std::pair<std::string, std::string>>& params) noexcept;

/// A text whose bytes are wiped when it goes or is replaced. A plain value.
class QXSecret {
 public:
  QXSecret() = default;
  explicit QXSecret(std::string text) noexcept : text_(std::move(text)) {}
  QXSecret(const QXSecret&) = default;
  QXSecret& operator=(QXSecret other) noexcept {
    text_.swap(other.text_);
    return *this;
  }
  ~QXSecret() { qxWipe(text_); }

  const std::string& obtainText() const noexcept { return text_; }

 private:
  std::string text_;
};
