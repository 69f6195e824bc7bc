// SPDX-License-Identifier: Apache-2.0
#include <console/utf8.h>
#include <gtest/gtest.h>

namespace {

TEST(ConsoleText, IsRepairedAndMadePrintable) {
  const struct {
    const char* text;
    const char* repaired;
    const char* printable;
  } cases[] = {
      {"a\tb\né€😀", "a\tb\né€😀", "a\tb\né€😀"},
      {"\x1b[2J\a\x7f", "\x1b[2J\a\x7f", "\uFFFD[2J\uFFFD\uFFFD"},
      {"a\r\nb\rc", "a\r\nb\rc", "a\nb\uFFFDc"},
      {"\xC2\x9B[m", "\xC2\x9B[m", "\uFFFD[m"},
      {"\xFF\x9Bz\xC3", "\uFFFD\uFFFDz\uFFFD", "\uFFFD\uFFFDz\uFFFD"},
      {"\xC0\xAF\xE2\x82", "\uFFFD\uFFFD\uFFFD", "\uFFFD\uFFFD\uFFFD"},
      {"a\u202Eb\u2066c\u2069\u200F", "a\u202Eb\u2066c\u2069\u200F", "a\uFFFDb\uFFFDc\uFFFD\u200F"},
      {"\xED\xA0\xF4\x90", "\uFFFD\uFFFD\uFFFD\uFFFD", "\uFFFD\uFFFD\uFFFD\uFFFD"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(console::repairUtf8(row.text), row.repaired);
    EXPECT_EQ(console::makePrintable(row.text), row.printable);
  }
}

}  // namespace
