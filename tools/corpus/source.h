// SPDX-License-Identifier: Apache-2.0
// Where the corpus gets its choices from: the same seed gives the same choices on every machine, which the
// distributions of the standard library don't promise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace corpus {

class Source {
 public:
  explicit Source(std::uint64_t seed) : engine_(seed) {}

  /// A number from 0 to `count` - 1.
  std::size_t below(std::size_t count) { return static_cast<std::size_t>(engine_() % count); }
  bool isOneIn(std::size_t count) { return below(count) == 0; }
  template <class Item, std::size_t kCount>
  const Item& pick(const Item (&items)[kCount]) {
    return items[below(kCount)];
  }

 private:
  std::mt19937_64 engine_;
};

/// A text as a user or a model might write it, and as nobody would: bytes of any kind, seldom very long.
std::string makeText(Source& source);

/// The name of a column, a model and the like.
std::string makeName(Source& source);

}  // namespace corpus
