// SPDX-License-Identifier: Apache-2.0
// Small operations on texts that are only looked at.
#pragma once

#include <string_view>

namespace qx {

/// What `qxTrimAsString` leaves of the text, as a view of it.
std::string_view trim(std::string_view text) noexcept;

}  // namespace qx
