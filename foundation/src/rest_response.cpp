#include "qx/rest_response.h"

#include <utility>

namespace {

std::unique_ptr<const COJson> parse(const std::string& body) {
  if (body.empty()) return nullptr;
  std::unique_ptr<const COJson> json(new COJson(COJson::parseBorrowed(body)));
  return json->getIsValidJson() ? std::move(json) : nullptr;
}

}  // namespace

CMRestResourceResponse::CMRestResourceResponse(std::string body) : buffer_(std::move(body)), bodyJson(parse(buffer_)) {}

CMRestResourceResponse::~CMRestResourceResponse() = default;
