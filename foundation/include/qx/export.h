// SPDX-License-Identifier: Apache-2.0
// Marks what libqx exports. Everything else in the library is hidden. On Windows, QX_STATIC stands for a library
// without a DLL.
#pragma once

#ifndef _WIN32
#define QX_API __attribute__((visibility("default")))
#elif defined(QX_STATIC)
#define QX_API
#elif defined(qx_EXPORTS)
#define QX_API __declspec(dllexport)
#else
#define QX_API __declspec(dllimport)
#endif
