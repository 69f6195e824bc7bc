// SPDX-License-Identifier: Apache-2.0
#include "qx/rest_response.h"

#include <limits>
#include <utility>

#include "json_arena.h"

CMRestResourceResponse::CMRestResourceResponse(std::string body)
    : CMRestResourceResponse(std::move(body), std::numeric_limits<std::uint64_t>::max()) {}

CMRestResourceResponse::CMRestResourceResponse(std::string body, std::uint64_t mostValueBytes)
    : buffer_(std::move(body)), bodyJson(parse(mostValueBytes)) {}

CMRestResourceResponse::~CMRestResourceResponse() = default;

std::unique_ptr<const COJson> CMRestResourceResponse::parse(std::uint64_t mostValueBytes) {
  if (buffer_.empty()) return nullptr;
  auto arena = std::make_unique<qx::JsonArena>(qx::JsonArena::View{buffer_});
  std::unique_ptr<const COJson> json(new COJson(qx::JsonAccess::parse(std::move(arena), mostValueBytes)));
  if (json->getIsValidJson()) return json;
  isTooLarge_ = qx::JsonAccess::nodeOf(*json).kind == qx::JsonKind::TooLarge;
  // Assigned, not cleared, which would keep the memory that there was too much of.
  if (isTooLarge_) buffer_ = std::string();
  return nullptr;
}
