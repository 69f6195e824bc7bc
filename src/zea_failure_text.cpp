// SPDX-License-Identifier: Apache-2.0
#include "zea_failure_text.h"

#include <cstring>

#include "zea_globals.h"

namespace zea {

std::string localizeText(const std::string& text) {
  if (text.empty() || gCallback == nullptr) return text;

  ZEACallbackLocalizationInfo info;
  info.sourceText = text.c_str();
  gCallback("ZEALocalizeString", &info);

  const std::size_t length = strnlen(info.localizedText, sizeof info.localizedText);
  return length > 0 ? std::string(info.localizedText, length) : text;
}

}  // namespace zea
