// SPDX-License-Identifier: Apache-2.0
// Writing a text out of many small parts.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

/// Appends parts to a text. It collects them on the way, since appending each to the string costs more than making
/// it: the text is whole once `flush` has been called. The string is not owned; nobody else may change it meanwhile.
/// For the stack of one function.
class ZEATextWriter {
 public:
  explicit ZEATextWriter(std::string& text) : text_(text) {}
  ZEATextWriter(const ZEATextWriter&) = delete;
  ZEATextWriter& operator=(const ZEATextWriter&) = delete;

  template <class... Parts>
  void put(const Parts&... parts) {
    putViews(std::string_view(parts)...);
  }

  /// How long the text is by now, and back to what it was then.
  std::size_t obtainLength() const noexcept { return text_.size() + used_; }
  void truncate(std::size_t length) {
    if (length < text_.size()) text_.resize(length);
    used_ = length - text_.size();
  }

  void flush() {
    text_.append(buffer_.data(), used_);
    used_ = 0;
  }

 private:
  template <class... Views>
  void putViews(Views... parts) {
    const std::size_t size = (parts.size() + ...);
    if (size > buffer_.size() - used_) flush();
    if (size > buffer_.size()) {
      (text_.append(parts), ...);
    } else {
      (collect(parts), ...);
    }
  }

  void collect(std::string_view part) { used_ += part.copy(buffer_.data() + used_, part.size()); }

  std::string& text_;
  std::array<char, 4096> buffer_;
  std::size_t used_ = 0;
};
