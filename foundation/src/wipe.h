// Wiping bytes that no string owns.
#pragma once

#include <cstddef>

/// Overwrites the bytes, also where nobody reads them afterwards.
void qxWipe(char* begin, std::size_t size) noexcept;
