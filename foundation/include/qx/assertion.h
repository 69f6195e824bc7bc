// SPDX-License-Identifier: Apache-2.0
// What becomes of a failed check on what a caller passed in. It is a diagnostic for developers: the library goes on
// with a guard, and neither ends the process nor throws.
#pragma once

#include "qx/export.h"

/// Receives the condition as it stands in the source, the path of the source file and the line. The texts live as
/// long as the process. Called on the thread of the failed check, in the middle of an operation: it must not throw, nor
/// change or free anything that the operation works on.
using QXAssertionHandler = void (*)(const char* condition, const char* sourcePath, int line);

/// Sets the handler of all failed checks of the process and returns the one before. Null stands for the default, in
/// both directions: a line on standard error where libqx was built for debugging, nothing otherwise. Any thread may
/// call it.
QX_API QXAssertionHandler qxSetAssertionHandler(QXAssertionHandler handler) noexcept;
