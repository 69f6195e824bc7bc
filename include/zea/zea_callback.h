// SPDX-License-Identifier: Apache-2.0
// How a host translates the library's own texts.
#pragma once

#include "zea/zea_api.h"

/// The host's callback. The only request is "ZEALocalizeString", with a `ZEACallbackLocalizationInfo*` as its data.
/// Called on the thread of the failing operation, on several at once where several assistants fail at once; it must
/// not throw. Both pointers are good during the call only.
using ZEACallback = void (*)(const char* request, void* data);

/// The data of "ZEALocalizeString". A host and the library exchange it across the module boundary: its layout is
/// fixed.
struct ZEACallbackLocalizationInfo {
  /// The English text: "Model is empty", "Invalid response" or "Unsupported data format". Not owned.
  const char* sourceText = nullptr;
  /// The translation: to translate, the callback writes at most 1023 bytes and a NUL; to decline, it leaves the
  /// field as it is.
  char localizedText[1024] = {};

  ZEACallbackLocalizationInfo() = default;
  ZEACallbackLocalizationInfo(const ZEACallbackLocalizationInfo&) = default;
  /// Both copy the pointer, not the text that it points at, and all bytes of `localizedText`; the right side stays
  /// as it is.
  ZEA_API ZEACallbackLocalizationInfo& operator=(const ZEACallbackLocalizationInfo& other);
  ZEA_API ZEACallbackLocalizationInfo& operator=(ZEACallbackLocalizationInfo&& other);  // NOLINT: a copy
};
static_assert(sizeof(void*) != 8 || sizeof(ZEACallbackLocalizationInfo) == 1032, "the layout is fixed");
