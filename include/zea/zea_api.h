// SPDX-License-Identifier: Apache-2.0
// Marks what libzea exports. On Windows, ZEA_STATIC stands for a libzea without a DLL.
#pragma once

#ifndef _WIN32
#define ZEA_API __attribute__((visibility("default")))
#elif defined(ZEA_STATIC)
#define ZEA_API
#elif defined(zea_EXPORTS)
#define ZEA_API __declspec(dllexport)
#else
#define ZEA_API __declspec(dllimport)
#endif
