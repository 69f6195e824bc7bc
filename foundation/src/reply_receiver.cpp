// SPDX-License-Identifier: Apache-2.0
#include "reply_receiver.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "rest_headers.h"

namespace qx {

namespace {

// A server may announce what it never sends.
constexpr std::uint64_t kMostReserved = 1024U * 1024U;

// What HTTP calls white space around a value, and the end of the line.
std::string_view trimField(std::string_view text) noexcept {
  constexpr std::string_view kSpace = " \t\r\n";
  const std::size_t begin = text.find_first_not_of(kSpace);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kSpace) - begin + 1);
}

bool isDigit(char character) noexcept { return character >= '0' && character <= '9'; }

bool isBlank(char character) noexcept { return character == ' ' || character == '\t'; }

// libcurl is more or less strict from release to release. What counts here is a version of HTTP, a blank and a status
// of three digits.
bool isReadableStatusLine(std::string_view line) noexcept {
  constexpr std::string_view kVersions[] = {"HTTP/1.1 ", "HTTP/1.0 ", "HTTP/2 ", "HTTP/3 "};
  for (const std::string_view version : kVersions) {
    if (line.substr(0, version.size()) != version) continue;
    line.remove_prefix(version.size());
    return line.size() > 3 && std::all_of(line.begin(), line.begin() + 3, isDigit) && !isDigit(line[3]);
  }
  return false;
}

}  // namespace

bool ReplyReceiver::giveUp(ReplyFault fault) noexcept {
  fault_ = fault;
  return false;
}

bool ReplyReceiver::takeHeaderLine(std::string_view line) noexcept {
  // Counted over all heads and the trailer: interim responses may come without end.
  headerBytes_ += line.size();
  if (headerBytes_ > maxHeaderBytes_) return giveUp(ReplyFault::HeadersTooLarge);
  const bool isStatusLine = line.substr(0, 5) == "HTTP/";
  if (hasBody_ || (hasWholeHead_ && !isStatusLine)) return true;  // a trailer
  if (isStatusLine) {
    if (!isReadableStatusLine(line)) return giveUp(ReplyFault::Malformed);
    // The first head, or the one after an interim response, of whose fields none counts for the reply.
    isHeadNew_ = true;
    hasWholeHead_ = false;
    coding_ = ContentCoding::None;
    length_.reset();
    isChunked_ = false;
    return true;
  }
  // A line that begins with a blank continues the field above it, and there is none yet.
  if (std::exchange(isHeadNew_, false) && isBlank(line.front())) return giveUp(ReplyFault::Malformed);
  if (line == "\r\n" || line == "\n") hasWholeHead_ = true;
  const std::size_t colon = line.find(':');
  return colon == std::string_view::npos || takeField(line.substr(0, colon), line.substr(colon + 1));
}

bool ReplyReceiver::takeField(std::string_view name, std::string_view value) noexcept {
  if (isSameIgnoringCase(name, "Content-Length")) return takeLength(trimField(value));
  if (isSameIgnoringCase(name, "Transfer-Encoding")) {
    value = trimField(value);
    // libcurl would decode others, and take one that breaks off for whole.
    isChunked_ = isSameIgnoringCase(value, "chunked");
    return isChunked_ || isSameIgnoringCase(value, "identity") || giveUp(ReplyFault::Malformed);
  }
  if (!isSameIgnoringCase(name, "Content-Encoding")) return true;
  value = trimField(value);
  if (isSameIgnoringCase(value, "identity")) return true;
  // Only gzip was asked for; another coding, or one over another, cannot be read.
  const bool isGzip = isSameIgnoringCase(value, "gzip") || isSameIgnoringCase(value, "x-gzip");
  coding_ = isGzip && coding_ == ContentCoding::None ? ContentCoding::Gzip : ContentCoding::Unknown;
  return true;
}

// libcurl takes a negative or an immense length for none, and of two lengths the last.
bool ReplyReceiver::takeLength(std::string_view value) noexcept {
  std::uint64_t length = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), length);
  const bool isNumber = error == std::errc() && end == value.data() + value.size();
  if (!isNumber || (length_ && *length_ != length)) return giveUp(ReplyFault::Malformed);
  length_ = length;
  return true;
}

bool ReplyReceiver::takeBody(std::string_view data) noexcept {
  try {
    if (!hasBody_) {
      hasBody_ = true;
      if (coding_ == ContentCoding::Unknown) return giveUp(ReplyFault::Malformed);
      if (length_ && *length_ > maxBodyBytes_) return giveUp(ReplyFault::BodyTooLarge);
      if (length_) body_.reserve(static_cast<std::size_t>(std::min(*length_, kMostReserved)));
    }
    // The bytes as sent count too: a stream of empty compressed parts would never end.
    bodyBytes_ += data.size();
    if (bodyBytes_ > maxBodyBytes_) return giveUp(ReplyFault::BodyTooLarge);
    if (coding_ == ContentCoding::None) return append(data);
    if (!decompressor_) decompressor_ = std::make_unique<GzipReader>();
    const bool isDecompressed =
        decompressor_->decompress(data, [this](std::string_view piece) { return append(piece); });
    return isDecompressed || giveUp(fault_ == ReplyFault::None ? ReplyFault::Malformed : fault_);
  } catch (...) {
    return giveUp(ReplyFault::OutOfMemory);
  }
}

bool ReplyReceiver::append(std::string_view data) {
  if (data.size() > maxBodyBytes_ - body_.size()) return giveUp(ReplyFault::BodyTooLarge);
  body_.append(data);
  return true;
}

}  // namespace qx
