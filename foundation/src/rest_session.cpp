// SPDX-License-Identifier: Apache-2.0
#include "qx/rest_session.h"

#include <algorithm>

#include "qx/secret.h"
#include "qx/text.h"
#include "rest_headers.h"

using namespace qx;

CMRestSession::~CMRestSession() { qxWipe(headers_); }

void CMRestSession::setAuthorizationHeaderValue(std::string_view value) { addHeaderParam("Authorization", value); }

void CMRestSession::addHeaderParam(std::string_view name, std::string_view value) {
  std::string trimmedName = qxTrimAsString(name);
  const auto known = std::find_if(headers_.begin(), headers_.end(), [&trimmedName](const auto& header) {
    return isSameIgnoringCase(header.first, trimmedName);
  });
  if (known == headers_.end()) {
    headers_.emplace_back(std::move(trimmedName), value);
  } else {
    // Swapped, not assigned: assigning might free the old value, which may be a key, before it can be wiped.
    std::string replaced(value);
    known->second.swap(replaced);
    qxWipe(replaced);
  }
}
