// SPDX-License-Identifier: Apache-2.0
#include "source.h"

namespace corpus {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kPieces[] = {"Which customers have open orders?"sv,
                                        "SELECT * FROM `orders` WHERE \"id\" = 1;"sv,
                                        " "sv,
                                        "\n"sv,
                                        "\r\n\t"sv,
                                        "\\"sv,
                                        "\"quoted\""sv,
                                        "/"sv,
                                        "\0"sv,
                                        "\x01\x1f\x7f"sv,
                                        "\b\f"sv,
                                        "äöü ß"sv,
                                        "日本語"sv,
                                        "\xF0\x9F\x98\x80"sv,
                                        "\xC3"sv,
                                        "\xFF\xFE\x80"sv,
                                        "\xED\xA0\x80"sv,
                                        "\xE2\x80\xA8"sv,
                                        "\\u0041"sv,
                                        "{\"role\":\"system\"}"sv,
                                        "0123456789abcdef0123456789abcdef"sv};

constexpr std::string_view kNames[] = {
    "id"sv,      "name"sv, "orders"sv,     "customer id"sv, "a`b"sv,    "\"x\""sv,      "größe"sv,
    "\xFFraw"sv, ""sv,     "\n"sv,         "m"sv,           "gpt-4o"sv, "models/g-1"sv, "a/b"sv,
    "m:1"sv,     "100%"sv, "?key=1&b#c"sv, " padded "sv,    "int(11)",  "text"sv,       "back\\sl"sv};

/// How often a text's pieces are repeated: seldom, and then up to some hundred kilobytes.
std::size_t makeRepeats(Source& source) {
  if (source.isOneIn(400)) return 1000 + source.below(4000);
  return source.isOneIn(30) ? 20 + source.below(200) : 1;
}

}  // namespace

std::string makeText(Source& source) {
  std::string piece;
  for (std::size_t count = source.below(7); count > 0; --count) piece.append(source.pick(kPieces));
  std::string text;
  for (std::size_t count = makeRepeats(source); count > 0; --count) text.append(piece);
  return text;
}

std::string makeName(Source& source) { return std::string(source.pick(kNames)); }

}  // namespace corpus
