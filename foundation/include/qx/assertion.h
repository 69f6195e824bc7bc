// Checks on what callers pass in. A failed check is a diagnostic for developers: it never ends the process and
// never throws. The caller of the check goes on with a guard, and the guard alone decides what happens:
//
//   if (!qxAssert(value.getValueType() == CMVariant::ValueType::String)) return false;
#pragma once

#include "qx/export.h"

/// Receives the condition as it stands in the source, the path of the source file and the line. The texts live as
/// long as the process. Called on the thread of the failed check; it must not throw.
using QXAssertionHandler = void (*)(const char* condition, const char* sourcePath, int line);

/// Sets the handler of all failed checks of the process and gives the one before. Null stands for the default, in both
/// directions: a line on standard error where libqx was built for debugging, nothing otherwise. Any thread may call it.
QX_API QXAssertionHandler qxSetAssertionHandler(QXAssertionHandler handler) noexcept;

/// Hands a failed check to the handler. Always gives false. Use `qxAssert` instead.
QX_API bool qxReportFailedAssertion(const char* condition, const char* sourcePath, int line) noexcept;

/// True when the condition holds; otherwise reports it and gives false. The condition is evaluated once.
#define qxAssert(condition) (static_cast<bool>(condition) || qxReportFailedAssertion(#condition, __FILE__, __LINE__))
