// SPDX-License-Identifier: Apache-2.0
#include "zea_provider_error.h"

#include <optional>
#include <string_view>

#include "qx/rest_response.h"
#include "zea_json_read.h"

namespace zea {

namespace {

std::optional<std::string_view> errorMessage(const CMRestResourceResponse& response) {
  if (response.bodyJson == nullptr || !response.bodyJson->getIsValidJson()) return std::nullopt;
  const COJsonValue* const error = objectMember(*response.bodyJson, "error");
  if (error == nullptr) return std::nullopt;
  return stringMember(*error, "message");
}

}  // namespace

std::string extractErrorText(const CMRestResourceResponse& response) {
  return std::string(errorMessage(response).value_or(response.getBufferString()));
}

std::string obtainErrorMessage(const CMRestResourceResponse& response) {
  return std::string(errorMessage(response).value_or(std::string_view()));
}

std::string extractCodeErrorText(const CMRestResourceResponse& response) {
  if (response.bodyJson != nullptr && response.bodyJson->getIsValidJson()) {
    const auto code = stringMember(*response.bodyJson, "code");
    const auto error = stringMember(*response.bodyJson, "error");
    if (code && error) return std::string(*code).append("\n").append(*error);
  }
  return response.getBufferString();
}

}  // namespace zea
