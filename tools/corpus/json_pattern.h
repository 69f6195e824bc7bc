// SPDX-License-Identifier: Apache-2.0
// JSON texts by pattern: well-formed ones, and such as nobody should send.
#pragma once

#include <string>
#include <string_view>

#include "source.h"

namespace corpus {

/// The pattern with its slots filled:
///   $t a text   $n a name   $i an integer   $d a date   $x a value of any kind   $o a text, or a value of any kind
///   $[item$]    none or some items with commas between them      $(part$)    the part, or nothing
std::string fillPattern(Source& source, std::string_view pattern);

/// The same, at times with a byte too many, a byte missing, a cut or a byte order mark.
std::string fillCarelessly(Source& source, std::string_view pattern);

}  // namespace corpus
