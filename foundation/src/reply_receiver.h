// SPDX-License-Identifier: Apache-2.0
// A reply while it arrives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "gzip_reader.h"

namespace qx {

/// What is wrong with a reply that was given up.
enum class ReplyFault { None, HeadersTooLarge, BodyTooLarge, Malformed, OutOfMemory };

/// Puts a reply together, within limits: reads the head for what libcurl is too lenient with, decompresses the body. It
/// throws nothing, since it works inside libcurl's callbacks.
class ReplyReceiver {
 public:
  ReplyReceiver(std::uint64_t maxHeaderBytes, std::uint64_t maxBodyBytes) noexcept
      : maxHeaderBytes_(maxHeaderBytes), maxBodyBytes_(maxBodyBytes) {}

  /// A line of the head or of a trailer, with its end; a piece of the body as it was sent. False: the reply is given
  /// up.
  bool takeHeaderLine(std::string_view line) noexcept;
  bool takeBody(std::string_view data) noexcept;

  ReplyFault obtainFault() const noexcept { return fault_; }
  bool hasBegun() const noexcept { return headerBytes_ > 0; }
  /// True when the head came with its final line.
  bool hasWholeHead() const noexcept { return hasWholeHead_; }
  /// True when a compressed body came up to its end; one without a content coding is whole by this measure.
  bool isCodingWhole() const noexcept { return !decompressor_ || decompressor_->isWhole(); }
  /// True when nothing but the end of the connection tells where the body ends.
  bool isEndedByClose() const noexcept { return !length_ && !isChunked_; }
  std::string releaseBody() noexcept { return std::move(body_); }

 private:
  enum class ContentCoding { None, Gzip, Unknown };

  bool giveUp(ReplyFault fault) noexcept;
  bool takeField(std::string_view name, std::string_view value) noexcept;
  bool takeLength(std::string_view value) noexcept;
  bool append(std::string_view data);

  std::uint64_t maxHeaderBytes_;
  std::uint64_t maxBodyBytes_;
  std::uint64_t headerBytes_ = 0;
  std::uint64_t bodyBytes_ = 0;  // as they were sent
  bool isHeadNew_ = false;       // its status line was the last one
  bool hasWholeHead_ = false;
  ContentCoding coding_ = ContentCoding::None;
  std::optional<std::uint64_t> length_;
  bool isChunked_ = false;
  bool hasBody_ = false;
  std::unique_ptr<GzipReader> decompressor_;  // of a compressed body that has begun
  std::string body_;
  ReplyFault fault_ = ReplyFault::None;
};

}  // namespace qx
