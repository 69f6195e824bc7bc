// How an object of a library that can be unloaded tells its two ends apart.
//
// When the library is unloaded the object must go; when the process ends it must stay, because static objects of the
// host that are destroyed later, and threads that still run, may use it. Both ends call its destructor. Whoever has
// constructed the object calls `qxWatchForProcessEnd`, and its destructor asks `qxIsProcessEnding`.
#pragma once

#include "qx/export.h"

/// From now on `qxIsProcessEnding` is true as soon as the process begins to end, ahead of the destructors of all static
/// objects that were constructed before this call. To be called for each such object: an earlier call stands for
/// earlier objects only. Any thread may call it. It doesn't fail: an end that cannot be watched counts as begun.
QX_API void qxWatchForProcessEnd() noexcept;

/// Whether the process is ending, by `exit` or by the return of `main`. Any thread may ask, at any time. For a libqx
/// that is linked statically into a library, the unloading of that library is the end.
QX_API bool qxIsProcessEnding() noexcept;
