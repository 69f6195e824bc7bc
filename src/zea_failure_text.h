// SPDX-License-Identifier: Apache-2.0
// The library's own failure texts, and how a host translates them.
#pragma once

#include <string>

namespace zea {

/// The whole vocabulary; the texts are also the keys by which a host finds its translations.
inline constexpr char kModelIsEmpty[] = "Model is empty";
inline constexpr char kInvalidResponse[] = "Invalid response";
inline constexpr char kUnsupportedDataFormat[] = "Unsupported data format";

/// The host's translation of the text; the text itself when there is no callback or it declines. An empty text is
/// returned as it is, and the callback isn't asked. Nothing is cached: each failure asks anew.
std::string localizeText(const std::string& text);

}  // namespace zea
