// SPDX-License-Identifier: Apache-2.0
// Wiping bytes that no string owns.
#pragma once

#include <cstddef>

namespace qx {

/// Overwrites the bytes, also where nobody reads them afterwards.
void wipe(char* begin, std::size_t size) noexcept;

}  // namespace qx
