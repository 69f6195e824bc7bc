#include "qx/rest_response.h"

#include <utility>

CMRestResourceResponse::CMRestResourceResponse(std::string body) : buffer_(std::move(body)) {
  if (buffer_.empty()) return;
  auto json = std::make_unique<const COJson>(buffer_);
  if (json->getIsValidJson()) bodyJson = std::move(json);
}

CMRestResourceResponse::~CMRestResourceResponse() = default;
