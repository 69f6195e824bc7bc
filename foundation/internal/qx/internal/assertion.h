// SPDX-License-Identifier: Apache-2.0
// Checks on what callers pass in, for this project's own libraries. A failed check is a diagnostic for developers: it
// never ends the process and never throws. The caller of the check goes on with a guard, and the guard alone decides
// what happens:
//
//   if (!qxAssert(value.getValueType() == CMVariant::ValueType::String)) return false;
#pragma once

#include "qx/assertion.h"

namespace qx {

/// Hands a failed check to the handler. Always returns false. Use `qxAssert` instead.
QX_API bool reportFailedAssertion(const char* condition, const char* sourcePath, int line) noexcept;

}  // namespace qx

/// True when the condition holds; otherwise reports it and returns false. The condition is evaluated once.
#define qxAssert(condition) (static_cast<bool>(condition) || qx::reportFailedAssertion(#condition, __FILE__, __LINE__))
