// SPDX-License-Identifier: Apache-2.0
// The options of a transfer: what all have in common, and what depends on the call.
#pragma once

#include <optional>
#include <string>

#include "curl_handle.h"
#include "qx/rest_settings.h"
#include "rest_url.h"

namespace qx {

/// A new transfer with the options and the callbacks that all have. libcurl must have been initialised. Throws
/// `std::bad_alloc`.
CurlEasy createTransfer();

/// What connections trust. `settings`: borrowed until the transfer has ended.
void setAuthorities(CurlEasy& easy, const CMRestGlobalSettings& settings, bool isSecure);

/// Sends the transfer through a proxy, but to the hosts that bypass it.
void setProxy(CurlEasy& easy, const ProxyURL& proxy, const CMRestGlobalSettings& settings);

/// Whether it is worth larger pieces than libcurl's, and too large for libcurl to send it without asking first.
bool isLargeBody(const std::optional<std::string>& body) noexcept;
/// `body`: borrowed until the transfer has ended.
void setBody(CurlEasy& easy, const std::optional<std::string>& body);

}  // namespace qx
