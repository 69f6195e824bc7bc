// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <qx/qx.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace std::string_literals;

TEST(Variant, ConvertsEachKindToTextAndNumbers) {
  constexpr int kSmallest = std::numeric_limits<int>::min();
  constexpr int kLargest = std::numeric_limits<int>::max();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::vector<std::tuple<CMVariant, std::string, int, double>> cases{
      {{}, "", 0, 0},
      {-2.9, "-2.9", -2, -2.9},
      {-kInfinity, "-inf", kSmallest, -kInfinity},
      {"12 tables", "12 tables", 12, 12},
      {" +1.5e3x", " +1.5e3x", 1, 1500},
      {"-.5", "-.5", 0, -0.5},
      {"99999999999", "99999999999", kLargest, 99999999999.0},
      {"-1e999", "-1e999", -1, -kInfinity},
      {"infinity", "infinity", 0, 0},
      {"0e99999999999", "0e99999999999", 0, 0},
      {"1e-99999999999", "1e-99999999999", 1, 0},
  };
  for (const auto& [value, text, integer, number] : cases) {
    EXPECT_EQ(value.stringValue(), text);
    EXPECT_EQ(value.intValue(), integer) << text;
    EXPECT_EQ(value.doubleValue(), number) << text;
  }
  EXPECT_EQ(CMVariant(std::nan("")).intValue(), 0);
}

TEST(Variant, IsIndependentOfItsCopies) {
  CMVariant original(CMVariantList{CMVariantMap{{"key", "value"}}, 1});

  CMVariant copy(original);
  copy.listRef()[0] = 2;
  copy.listRef().push_back("more");

  ASSERT_EQ(original.listRef().size(), 2U);
  EXPECT_EQ(original.listRef()[0].mapValue().at("key").stringValue(), "value");
}

// The assignment destroys the list that the item stands in.
TEST(Variant, CanBeAssignedAnItemOfItsOwn) {
  CMVariant copied(CMVariantList{CMVariant(CMVariantList{"inner"})});
  CMVariant moved(CMVariantList{"inner"});

  copied = copied.listRef()[0];
  moved = std::move(moved.listRef()[0]);

  EXPECT_EQ(copied.listRef().at(0).stringValue(), "inner");
  EXPECT_EQ(moved.stringValue(), "inner");
}

TEST(Text, IsTrimmedAtBothEnds) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {"", ""}, {" \t\r\n\v\f", ""}, {" a b\n", "a b"}, {"\xC2\xA0", "\xC2\xA0"}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(qxTrimAsString(text), expected) << text;
}

TEST(Text, IsJoinedToAURL) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{}, ""},
      {{"https://host", "v1", "models"}, "https://host/v1/models"},
      {{"https://host/", "v1/", "models"}, "https://host/v1/models"},
  };
  for (const auto& [items, expected] : cases) EXPECT_EQ(qxConcatURL(items), expected) << expected;
}

// A server that echoed the key put it into what the user read.
TEST(Secret, IsMaskedInEveryForm) {
  const std::vector<std::tuple<std::string, std::string, std::string>> cases{
      {"no key", "", "no key"},
      {"no key", " \n", "no key"},
      {"", "k-1", ""},
      {"k-", "k-1", "k-"},
      {"k-1", "\tk-1 \r\n", "***"},
      {"a k-1, k-1k-1 b%6B-1", "k-1", "a ***, ****** b***"},
      {"kk-k-11", "k-1", "kk-***1"},
      {"%6b%2D%31 %6B-1 K-1 %6-1 %6", "k-1", "*** *** K-1 %6-1 %6"},
      {"?key=a%20b+c+d", "a b+c d", "?key=***"},
      {"a+b a%2Bb", "a b", "*** a%2Bb"},
      {"%2541 %41 A", "%41", "*** *** A"},
      {"%25 %2525 %252525", "%25", "*** *** ***25"},
      {"\xC3\xA4\0 %C3%a4%00"s, "\xC3\xA4\0"s, "*** ***"},
  };
  for (const auto& [text, secret, expected] : cases) EXPECT_EQ(qxMaskSecret(text, secret), expected) << text;
}

TEST(Version, IsThatOfTheHeadersInUse) { EXPECT_STREQ(qxObtainVersion(), QX_VERSION); }

TEST(DateTime, IsReadWholeOrNotAtAll) {
  constexpr std::int64_t kInvalid = std::numeric_limits<std::int32_t>::min();
  const std::string iso = "%Y-%m-%dT%H:%M:%SZ";
  const std::vector<std::tuple<std::string, std::string, std::int64_t>> cases{
      {"1970-01-01T00:00:00Z", iso, 0},
      {"2025-02-19T12:34:56Z", iso, 1739968496},
      {"2024-02-29T23:59:59Z", iso, 1709251199},
      {"1969-12-31T23:59:59Z", iso, -1},
      {"01 Mar 2024", "%d %b %Y", 1709251200},
      {"2023-02-29T00:00:00Z", iso, kInvalid},
      {"2024-01-01T00:00:00Z ", iso, kInvalid},
      {" 2024-01-01T00:00:00Z", iso, kInvalid},
      {"2024-01-01T00:00:00", iso, kInvalid},
      {"2024-01-01", iso, kInvalid},
      {"2024-1-1T00:00:00Z", iso, kInvalid},
      {"2024-01-01t00:00:00z", iso, kInvalid},
      {"2024-01-01T24:00:00Z", iso, kInvalid},
      {"2024-01-01T00:00:00Z\0"s, iso, kInvalid},
      {"12:00", "%H:%M", kInvalid},
  };
  const std::unique_ptr<ICSDateTimeConverter> converter(
      QX::obtainAppFactory()->obtainDateTimeService()->createDateTimeConverter());
  for (const auto& [text, format, seconds] : cases) {
    const std::unique_ptr<CODateTime> date(CODateTime::dateTimeFromString(text, format));

    EXPECT_EQ(date->isValid(), seconds != kInvalid) << text;
    EXPECT_EQ(converter->toEpochSeconds(*date, 10), seconds == kInvalid ? kInvalid : seconds + 10) << text;
  }
}
