// SPDX-License-Identifier: Apache-2.0
// The version of libqx, twice: of these headers, and of the library that a program has found when it runs.
#pragma once

#include "qx/export.h"

// As long as the major number is 0, each minor number may break what was built against the one before.
#define QX_VERSION_MAJOR 0
#define QX_VERSION_MINOR 1
#define QX_VERSION_PATCH 0
#define QX_VERSION "0.1.0"

/// `QX_VERSION` of the headers that the running library was built with. The text lives as long as the process. Any
/// thread may ask.
QX_API const char* qxObtainVersion() noexcept;
