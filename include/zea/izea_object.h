// SPDX-License-Identifier: Apache-2.0
// What the library hands out.
#pragma once

/// The root of everything that a host gives back with `ZEAFreeObject`.
class IZEAObject {
 public:
  virtual ~IZEAObject() = default;
};
