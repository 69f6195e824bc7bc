// SPDX-License-Identifier: Apache-2.0
// Database structures, as they should be and otherwise.
#pragma once

#include <qx/qx.h>

#include <string>

#include "source.h"

namespace corpus {

/// As a JSON text.
std::string makeStructureText(Source& source);

/// As a value: a List, or something else.
CMVariant makeStructureValue(Source& source);

/// A value in words, its kinds included.
std::string describe(const CMVariant& value);

}  // namespace corpus
