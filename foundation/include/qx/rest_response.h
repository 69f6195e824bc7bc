// SPDX-License-Identifier: Apache-2.0
// What a call brought back.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "qx/export.h"
#include "qx/json.h"

/// The reply of a server. The receiver owns it; it needs neither request nor client nor pool.
class QX_API CMRestResourceResponse {
  // Declared before `bodyJson`, whose making sets both, and which reads from the first until it is destroyed.
  std::string buffer_;
  bool isTooLarge_ = false;

  std::unique_ptr<const COJson> parse(std::uint64_t mostValueBytes);

 public:
  /// A reply with that body, as it was received. `bodyJson` is made of it.
  explicit CMRestResourceResponse(std::string body = {});
  /// The same within a limit: when the values of its JSON document would take more memory than that, 32 bytes for a
  /// value and 64 for an object or array, the reply is empty and `isTooLarge`.
  CMRestResourceResponse(std::string body, std::uint64_t mostValueBytes);
  virtual ~CMRestResourceResponse();
  CMRestResourceResponse(const CMRestResourceResponse&) = delete;
  CMRestResourceResponse& operator=(const CMRestResourceResponse&) = delete;

  /// Whether it was emptied because it went beyond the limit that it was made with.
  bool isTooLarge() const noexcept { return isTooLarge_; }

  /// The body as JSON. Null when the body is empty or no JSON text. It reads from the response, and stays with it.
  const std::unique_ptr<const COJson> bodyJson;

  /// The body as received, once decompressed; empty when nothing or no whole reply was received.
  const std::string& getBufferString() const noexcept { return buffer_; }
};
