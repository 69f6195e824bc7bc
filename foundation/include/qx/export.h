// Marks what libqx.so exports. Everything else in the library is hidden.
#pragma once

#define QX_API __attribute__((visibility("default")))
