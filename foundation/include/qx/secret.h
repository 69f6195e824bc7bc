// Keys and passwords: keeping them out of what people see, and out of memory that has been freed.
#pragma once

#include <string>
#include <string_view>

#include "qx/export.h"

/// The text with "***" in place of every occurrence of the secret, as it is or percent-encoded, whole or in part: each
/// of its characters stands for itself or for its "%XX" in digits of either case, a blank for "+" as well. White space
/// at the ends of the secret doesn't count, since keys are sent without it in headers; an empty or blank secret changes
/// nothing. Any thread may call it. Throws `std::bad_alloc`.
QX_API std::string qxMaskSecret(std::string_view text, std::string_view secret);
