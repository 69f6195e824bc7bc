// SPDX-License-Identifier: Apache-2.0
// How an object of a library that can be unloaded tells its two ends apart.
//
// When the library is unloaded the object must go; when the process ends it must stay, because static objects of the
// host that are destroyed later, and threads that still run, may use it. Both ends call its destructor. Whoever has
// constructed the object calls `watchForProcessEnd`, and its destructor asks `isProcessEnding`.
#pragma once

#include "qx/export.h"

namespace qx {

/// From now on `isProcessEnding` is true as soon as the process begins to end, before the destructors of all static
/// objects that were constructed before this call. To be called for each such object: an earlier call stands for
/// earlier objects only. Any thread may call it. It doesn't fail: an end that cannot be watched counts as begun.
QX_API void watchForProcessEnd() noexcept;

/// Whether the process is ending, by `exit` or by the return of `main`. Any thread may ask, at any time. For a libqx
/// that is linked statically into a library, the unloading of that library is the end.
QX_API bool isProcessEnding() noexcept;

}  // namespace qx
