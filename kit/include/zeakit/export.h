// Marks what libzeakit.so exports. Everything else in the library is hidden.
#pragma once

#define ZEAKIT_API __attribute__((visibility("default")))
