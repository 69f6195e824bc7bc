// SPDX-License-Identifier: Apache-2.0
// Texts that tell what is hidden.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace zeakit {

/// The text with ASCII letters in lower case.
std::string lowerCase(std::string_view text);

/// Hidden names, and whether a text tells one of them, ASCII letters in either case. A name of four bytes or more is
/// found inside longer words too, a shorter one as a word of its own only: "id" is no secret in "paid".
class NameMentions {
 public:
  void add(std::string_view name);
  bool isEmpty() const { return names_.empty(); }
  bool areIn(std::string_view text) const;

 private:
  std::set<std::string> names_;
};

}  // namespace zeakit
