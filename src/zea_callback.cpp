// SPDX-License-Identifier: Apache-2.0
#include "zea/zea_callback.h"

#include <cstddef>
#include <cstring>

static_assert(offsetof(ZEACallbackLocalizationInfo, sourceText) == 0);
static_assert(offsetof(ZEACallbackLocalizationInfo, localizedText) == sizeof(const char*));

ZEACallbackLocalizationInfo& ZEACallbackLocalizationInfo::operator=(const ZEACallbackLocalizationInfo& other) {
  sourceText = other.sourceText;
  std::memmove(localizedText, other.localizedText, sizeof localizedText);  // the operands may be the same
  return *this;
}

ZEACallbackLocalizationInfo& ZEACallbackLocalizationInfo::operator=(ZEACallbackLocalizationInfo&& other) {
  return *this = static_cast<const ZEACallbackLocalizationInfo&>(other);
}
