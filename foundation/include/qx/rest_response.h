// What a call brought back.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "qx/export.h"
#include "qx/json.h"

/// The reply of a server. The receiver owns it; it needs neither request nor client nor pool.
class QX_API CMRestResourceResponse {
  std::string buffer_;  // ahead of the document that reads from it

 public:
  /// A reply with that body, as it was received. `bodyJson` is made of it.
  explicit CMRestResourceResponse(std::string body = {});
  virtual ~CMRestResourceResponse();
  CMRestResourceResponse(const CMRestResourceResponse&) = delete;
  CMRestResourceResponse& operator=(const CMRestResourceResponse&) = delete;

  /// The body as JSON. Null when the body is empty or no JSON text. It reads from the response, and stays with it.
  const std::unique_ptr<const COJson> bodyJson;

  /// The body as received, once unpacked; empty when nothing or no whole reply was received.
  const std::string& getBufferString() const noexcept { return buffer_; }
};
