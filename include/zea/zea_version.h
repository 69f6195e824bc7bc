// SPDX-License-Identifier: Apache-2.0
// The version of libzea's headers. All libraries here are released together under one number; which release a program
// has found when it runs tells `qxObtainVersion`.
#pragma once

#include "qx/version.h"

#define ZEA_VERSION_MAJOR QX_VERSION_MAJOR
#define ZEA_VERSION_MINOR QX_VERSION_MINOR
#define ZEA_VERSION_PATCH QX_VERSION_PATCH
#define ZEA_VERSION QX_VERSION

/// As one number that grows with each release: `#if ZEA_VERSION_NUMBER >= 0x000200`, as `zeac_version` gives it.
#define ZEA_VERSION_NUMBER ((ZEA_VERSION_MAJOR << 16) | (ZEA_VERSION_MINOR << 8) | ZEA_VERSION_PATCH)
