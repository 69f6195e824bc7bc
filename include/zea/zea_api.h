// Marks what libzea.so exports.
#pragma once

#define ZEA_API __attribute__((visibility("default")))
