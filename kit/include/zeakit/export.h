// SPDX-License-Identifier: Apache-2.0
// Marks what libzeakit exports. Everything else in the library is hidden. On Windows, ZEAKIT_STATIC stands for a
// library without a DLL.
#pragma once

#ifndef _WIN32
#define ZEAKIT_API __attribute__((visibility("default")))
#elif defined(ZEAKIT_STATIC)
#define ZEAKIT_API
#elif defined(zeakit_EXPORTS)
#define ZEAKIT_API __declspec(dllexport)
#else
#define ZEAKIT_API __declspec(dllimport)
#endif
