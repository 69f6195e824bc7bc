// SPDX-License-Identifier: Apache-2.0
#include "wipe.h"

#include <cstring>

namespace qx {

// The compiler cannot tell what this points at, and so may not leave the call out.
void wipe(char* begin, std::size_t size) noexcept {
  static void* (*const volatile overwrite)(void*, int, std::size_t) = std::memset;
  overwrite(begin, 0, size);
}

}  // namespace qx
