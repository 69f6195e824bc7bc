// Small operations on texts that are only looked at.
#pragma once

#include <string_view>

/// What `qxTrimAsString` leaves of the text, as a view of it.
std::string_view qxTrim(std::string_view text) noexcept;
