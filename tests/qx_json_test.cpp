// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <qx/internal/json_view.h>
#include <qx/qx.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;

std::string nest(std::size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); }

int gFailedAssertions = 0;

// A temporary was viewed without a word, and read when it had gone.
static_assert(std::is_constructible_v<qx::KeptText, const std::string&>);
static_assert(!std::is_constructible_v<qx::KeptText, std::string>);
static_assert(!std::is_constructible_v<qx::KeptText, const char*>);

}  // namespace

TEST(JsonParsing, AcceptsEveryWellFormedText) {
  const std::vector<std::string> texts{
      // Structure.
      "null", "true", "false", "\"\"", "0", "[]", "{}", "[[]   ]", R"({"":0})", R"({"a":1,"a":2})", " [] ",
      "\t[\r\n]\n", "[null,1,\"1\",{}]", "[[[[[]]]]]", R"({"a":{"b":[{"c":[]}]}})", nest(512),
      // Numbers.
      "-0", "-1", "[123e65]", "0e+1", "0e1", "20e1", "1E22", "1E-2", "1E+2", "1.5e-7", "-0.0", "123.456e78",
      // Strings.
      R"("\u0060\u012a\u12AB")", R"("\ud801\udc37")", R"("\"\\\/\b\f\n\r\t")", R"("\\u0000")", R"("\uFFFF\uFDD0")",
      "\"a/*b*/c//d#e\"", "\"\x7F\"", "\"\xE2\x80\xA8\xE2\x80\xA9\"", "\"\xF4\x8F\xBF\xBF\""};
  for (const std::string& text : texts) EXPECT_TRUE(COJson(text).getIsValidJson()) << text.substr(0, 40);
}

TEST(JsonParsing, KeepsValuesOfAnyNumberAndStopsAtTheirLimit) {
  for (const std::size_t count : {1U, 30U, 31U, 32U, 33U, 158U, 160U, 671U, 2719U, 2721U, 10'000U}) {
    std::string items = "[0,{\"a\":[1]}]";
    for (std::size_t i = 1; i < count; ++i) items.append(i % 2 == 0 ? ",[0,{\"a\":[1]}]" : ",1");
    const std::string text = "[[" + items + "],{}," + items + "]";
    const std::size_t arrays = 2 * ((count + 1) / 2);  // of five values each, three of them containers
    const std::size_t bytes = 32 * (arrays * (5 + 3) + 2 * (count - arrays / 2) + 2 + 3);

    EXPECT_EQ(COJson(text).obtainJsonString(), text) << count;
    EXPECT_EQ(CMRestResourceResponse(text, bytes).getBufferString(), text) << count;
    EXPECT_TRUE(CMRestResourceResponse(text, bytes - 1).isTooLarge()) << count;
    EXPECT_EQ(CMRestResourceResponse(text, bytes - 1).getBufferString(), "") << count;
  }
}

TEST(JsonParsing, RefusesEveryTextThatIsNotWellFormed) {
  const std::vector<std::string> texts{
      // Structure.
      "", " ", "[", "]", "{", "}", "[1", "[1,", "[1,]", "[,1]", "[1,,2]", "[,]", "[1 2]", "[\"a\" \"b\"]", "[]]",
      "[][]", "[}", "[1}", "{]", "{1:1}", "{\"a\"}", "{\"a\":}", "{\"a\" 1}", "{\"a\",1}", "{\"a\":1", "{\"a\":1,}",
      "{,}", "{\"a\":1,,\"b\":2}", "{\"a\"::1}", "{:1}", "{a:1}", "{'a':1}", "{null:1}", "{\"a\":1}x", "{\"a\":1}{}",
      "{} x", "[1]//", "/**/[]", "[/*a*/]", "[]#", "<.>", "*", "$", ",", ":", "[]\0"s, "\0"s, "[\0]"s,
      std::string(1'000'000, '['), nest(513),
      // Names of values.
      "nul", "nulll", "True", "TRUE", "[tru]", "[truefalse]", "undefined", "NaN", "[-NaN]", "Infinity", "-Infinity",
      // Numbers.
      "01", "-01", "00", "[-012]", "+1", "++1", "[+Inf]", "1.", "-1.", ".5", "-.5", "1.e1", "1e", "1e+", "1E-", "0e",
      "1.0e", "1e1.5", "1ee1", "-", "--1", "[- 1]", "[1 000]", "1_000", "0x1", "0b1", "1a", "1.2.3", "[1.]", "1+2",
      "[\xEF\xBC\x91]", "1e999999999999x",
      // Strings.
      "\"", "\"a", "'a'", "a", "\"a\"b\"", "\"\\\"", "[\"\\", R"("\x00")", R"("\a")", R"("\U0041")", R"("\0")",
      "\"\\\n\"", R"("\u")", R"("\u1")", R"("\u00")", R"("\u00A")", R"("\u00G0")", R"("\u-123")", R"("\u 123")",
      R"("\uD800\u")", R"("\uD800\u1")", R"("\uD800\u1x")", R"("\uD800\)", "\"\xE2\"\"", "\"\n\"", "\"\t\"", "\"\0\""s,
      "\"\x1F\"",
      // White space.
      "\f[]", "[\v]", "\xC2\xA0[]", "[\xC2\xA0]", "\xE2\x81\xA0[]", "\xE2\x80\xA8[]",
      // Marks of an encoding.
      "\xEF\xBB\xBF", "\xEF\xBB", "\xEF\xBB[]", "\xEF\xBB\xBF\xEF\xBB\xBF{}", "[]\xEF\xBB\xBF", "\xFE\xFF\0[\0]"s,
      "\xFF\xFE[\0]\0"s, "[\0]\0"s};
  for (const std::string& text : texts) {
    const COJson document(text);

    EXPECT_FALSE(document.getIsValidJson()) << text.substr(0, 40);
    EXPECT_EQ(document.obtainType(), COJsonValueType::Null) << text.substr(0, 40);
  }
}

// Parsers differ here. Nothing of a reply is lost for a number or a character that a better one would have avoided.
TEST(JsonParsing, DecidesWhatTheFormatLeavesOpen) {
  const std::string nines(30, '9');
  const std::vector<std::pair<std::string, std::string>> cases{
      // Numbers beyond a double's range are infinite, which is written as null, or 0.
      {"[1e400,-1e400,1e-400,-1e-400,5e-324]", "[null,null,0.0,-0.0,5e-324]"},
      {"[1e2147483647,1e2147483648,1e-2147483649]", "[null,null,0.0]"},
      {"[1e99999999999,-1E+99999999999,1e-99999999999]", "[null,null,0.0]"},
      {"[0e99999999999,0.0e+" + nines + ",-0e-" + nines + "]", "[0.0,0.0,-0.0]"},
      {"[1e" + std::string(30, '0') + "5,1e-" + std::string(30, '0') + "5]", "[1e+05,1e-05]"},
      {R"({"1e99999999999":"\"e99999999999\\","e":1e99999999999})", R"({"1e99999999999":"\"e99999999999\\","e":null})"},
      {R"(["\ud800",1e99999999999,true])", "[\"\xEF\xBF\xBD\",null,true]"},
      {"[1" + std::string(400, '0') + "]", "[null]"},
      // Integers keep 64 bits.
      {"[2147483648,-2147483649,4294967296]", "[2147483648,-2147483649,4294967296]"},
      {"[-9223372036854775809]", "[-9223372036854775808.0]"},
      // Bytes that are no UTF-8 stay: overlong, cut off, surrogates, beyond the last character, a mark inside.
      {"[\"\xC0\xAF\xE0\x80\xAF\"]", "[\"\xC0\xAF\xE0\x80\xAF\"]"},
      {"[\"\xE2\x82\",\"\xF0\x9F\x98\"]", "[\"\xE2\x82\",\"\xF0\x9F\x98\"]"},
      {"[\"\xED\xA0\x80\xF4\x90\x80\x80\xFF\x80\"]", "[\"\xED\xA0\x80\xF4\x90\x80\x80\xFF\x80\"]"},
      {"{\"\xEF\xBB\xBF\xE9\":1}", "{\"\xEF\xBB\xBF\xE9\":1}"},
      {"\xEF\xBB\xBF{}", "{}"},
  };
  for (const auto& [text, expected] : cases) {
    const std::string kept = text;

    EXPECT_EQ(COJson(text).obtainJsonString(), expected) << text;
    EXPECT_EQ(qx::parseJsonView(kept).obtainJsonString(), expected) << text;
    EXPECT_EQ(kept, text);
  }
}

TEST(JsonParsing, WritesWhatItReadOnlyWithoutWhiteSpaceAndNeedlessEscapes) {
  const std::string longText(9000, 'x');
  const std::vector<std::pair<std::string, std::string>> cases{
      {"{ \"z\" : 1 , \"a\" : [ ] , \"m\" : { } }", "{\"z\":1,\"a\":[],\"m\":{}}"},
      {R"(["\"\\\/\b\f\n\r\t\u001f\u007F\u00e9\ud83d\ude00"])",
       "[\"\\\"\\\\/\\b\\f\\n\\r\\t\\u001f\x7F\u00e9\U0001F600\"]"},
      {R"({"\u0000k\u0000":"\u0000"})", R"({"\u0000k\u0000":"\u0000"})"},
      {"[\"0123456789abcde\\n\xFF\xC3\x28 0123456789\"]", "[\"0123456789abcde\\n\xFF\xC3\x28 0123456789\"]"},
      {"[9223372036854775807,-9223372036854775808,-0]", "[9223372036854775807,-9223372036854775808,0]"},
      {"[18446744073709551615,18446744073709551616]", "[18446744073709551615,18446744073709551616.0]"},
      {"[1.0,-0.0,1E3,100000.0,1e30,0.1]", "[1.0,-0.0,1000.0,1e+05,1e+30,0.1]"},
      {"[0." + std::string(400, '0') + "1e402,0." + std::string(400, '0') + "1e800]", "[10.0,null]"},
      {"[1" + std::string(400, '0') + ",0." + std::string(400, '0') + "1]", "[null,0.0]"},
      {"[1" + std::string(400, '0') + "e-800,1" + std::string(400, '0') + "e-1]", "[0.0,null]"},
      {"[\"" + longText + "\\n" + longText + "\"]", "[\"" + longText + "\\n" + longText + "\"]"},
  };
  for (const auto& [text, expected] : cases) {
    const COJson document(text);

    ASSERT_TRUE(document.getIsValidJson()) << text;
    EXPECT_EQ(document.obtainJsonString(), expected) << text;
    EXPECT_EQ(COJson(expected).obtainJsonString(), expected) << text;
  }
}

// The parser refuses such a text as a whole, and a model that stops inside a pair would cost its user the reply.
TEST(JsonParsing, ReadsUnpairedSurrogateEscapesAsReplacementCharacters) {
  const std::string replacement = "\xEF\xBF\xBD";
  const std::vector<std::pair<std::string, std::string>> cases{
      {R"(\ud800)", replacement},
      {R"(\uDFFFx)", replacement + "x"},
      {R"(\ud83d\ud83d\ude00)", replacement + "\U0001F600"},
      {R"(\ude00\ud83d)", replacement + replacement},
      {R"(\ud83d\u0041)", replacement + "A"},
      {R"(\\ud800\ud800)", "\\ud800" + replacement},
      {R"(\\\ud800)", "\\" + replacement},
  };
  for (const auto& [escaped, expected] : cases) {
    const COJson document("{\"" + escaped + "\":\"" + escaped + "\"}");

    ASSERT_TRUE(document.getIsValidJson()) << escaped;
    ASSERT_NE(document.obtainKeyValue(expected), nullptr) << escaped;
    EXPECT_EQ(document.obtainKeyValue(expected)->obtainStringValue(), expected) << escaped;
  }
}

TEST(JsonReading, GivesValuesOfTheirKindAndNothingOfAnyOther) {
  const COJson document(R"({"s":"text","i":7,"big":5000000000,"low":-5000000000,"huge":18446744073709551615,)"
                        R"("d":2.5,"t":true,"n":null,"a":[1,"x"],"o":{"k":"first","k":"second"}})");
  constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
  constexpr auto kLeast = std::numeric_limits<std::int32_t>::min();
  using Case = std::tuple<std::string, COJsonValueType, std::string, std::int32_t, double, bool, std::size_t>;
  const std::vector<Case> cases{
      {"s", COJsonValueType::String, "text", 0, 0, false, 0},
      {"i", COJsonValueType::Integer, "", 7, 7, false, 0},
      {"big", COJsonValueType::Integer, "", kMost, 5e9, false, 0},
      {"low", COJsonValueType::Integer, "", kLeast, -5e9, false, 0},
      {"huge", COJsonValueType::Integer, "", kMost, 18446744073709551615.0, false, 0},
      {"d", COJsonValueType::Double, "", 0, 2.5, false, 0},
      {"t", COJsonValueType::Boolean, "", 0, 0, true, 0},
      {"n", COJsonValueType::Null, "", 0, 0, false, 0},
      {"a", COJsonValueType::Array, "", 0, 0, false, 2},
  };
  for (const auto& [key, type, text, integer, number, truth, size] : cases) {
    const COJsonValue* value = document.obtainKeyValue(key);

    ASSERT_NE(value, nullptr) << key;
    EXPECT_EQ(value->obtainType(), type) << key;
    EXPECT_EQ(value->obtainStringValue(), text) << key;
    EXPECT_EQ(value->obtainIntValue(), integer) << key;
    EXPECT_EQ(value->obtainDoubleValue(), number) << key;
    EXPECT_EQ(value->obtainBoolValue(), truth) << key;
    EXPECT_EQ(value->obtainArraySize(), size) << key;
    EXPECT_EQ(value->obtainArrayItem(size), nullptr) << key;
    EXPECT_EQ(value->obtainKeyValue("none"), nullptr) << key;
  }
  EXPECT_EQ(document.obtainKeyValue("o")->obtainKeyValue("k")->obtainStringView(), "first");
  EXPECT_EQ(document.obtainKeyValue("a")->obtainArrayItem(1)->obtainStringView(), "x");
}

TEST(JsonBuilding, KeepsTheAddressAndOrderOfTenThousandSiblings) {
  COJson document;
  COJsonValue* array = document.addKeyValue("items");
  std::vector<COJsonValue*> items;

  for (std::int32_t i = 0; i < 10'000; ++i) {
    items.push_back(array->addArrayItem());
    items.back()->setIntValue(i);
  }

  ASSERT_EQ(array->obtainArraySize(), items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    ASSERT_EQ(array->obtainArrayItem(i), items[i]);
    ASSERT_EQ(items[i]->obtainIntValue(), static_cast<std::int32_t>(i));
  }
}

TEST(JsonBuilding, AddsToADocumentThatWasParsed) {
  COJson document(R"({"a":1})");

  for (int i = 0; i < 9; ++i) document.addKeyValue("a")->setIntValue(i);

  EXPECT_EQ(document.obtainKeyValue("a")->obtainIntValue(), 1);
  EXPECT_EQ(document.obtainJsonString(), R"({"a":1,"a":0,"a":1,"a":2,"a":3,"a":4,"a":5,"a":6,"a":7,"a":8})");
}

TEST(JsonBuilding, WritesEachKindOfContent) {
  const std::string text = "quote \" backslash \\ NUL \0 end"s;
  COJson document;

  document.addKeyValue("new");
  document.addKeyValue("string")->setStringValue(text);
  qx::setStringView(*document.addKeyValue("view"), text);
  document.addKeyValue("int")->setIntValue(std::numeric_limits<std::int32_t>::min());
  document.addKeyValue("double")->setDoubleValue(1);
  document.addKeyValue("infinite")->setDoubleValue(std::numeric_limits<double>::infinity());
  document.addKeyValue("nan")->setDoubleValue(std::nan(""));
  document.addKeyValue("bool")->setBoolValue(true);
  document.addKeyValue("empty")->setAsArray();
  document.addKeyValue("object")->addKeyValue("")->addArrayItem();

  EXPECT_EQ(
      document.obtainJsonString(),
      R"({"new":null,"string":"quote \" backslash \\ NUL \u0000 end","view":"quote \" backslash \\ NUL \u0000 end",)"
      R"("int":-2147483648,"double":1.0,"infinite":null,"nan":null,"bool":true,"empty":[],"object":{"":[null]}})");
  EXPECT_EQ(COJson(document.obtainJsonString()).obtainKeyValue("string")->obtainStringValue(), text);
}

// Texts are looked through and kept in blocks.
TEST(JsonBuilding, EscapesAtEveryPlaceOfTextsOfAnyLength) {
  const std::vector<std::pair<char, std::string>> cases = {{'"', "\\\""},       {'\\', "\\\\"},    {'\n', "\\n"},
                                                           {'\x1f', "\\u001f"}, {'\0', "\\u0000"}, {' ', " "},
                                                           {'\x7f', "\x7f"},    {'\x80', "\x80"},  {'\xff', "\xff"}};
  for (const std::size_t size : std::initializer_list<std::size_t>{1, 15, 16, 17, 33, 4095, 4096, 4097, 9000}) {
    for (std::size_t place = size > 40 ? size - 20 : 0; place < size; ++place) {
      for (const auto& [character, escaped] : cases) {
        const std::string before(place, 'x');
        const std::string after(size - place - 1, 'y');
        const std::string text = before + character + after;
        COJson json;

        qx::setStringView(*json.addKeyValue("a"), text);

        ASSERT_EQ(json.obtainJsonString(), "{\"a\":\"" + before + escaped + after + "\"}") << size << " " << place;
      }
    }
  }
}

TEST(JsonBuilding, ReadsDoublesBackExactly) {
  for (std::uint64_t state = 1, i = 0; i < 20'000; ++i) {
    state = state * 6364136223846793005U + 1442695040888963407U;
    const double value = std::ldexp(static_cast<double>(state >> 11), static_cast<int>(state % 2000) - 1060);
    COJson document("[]");
    document.addArrayItem()->setDoubleValue(value);

    const COJson copy(document.obtainJsonString());

    ASSERT_EQ(copy.obtainArrayItem(0)->obtainDoubleValue(), std::isfinite(value) ? value : 0) << value;
  }
}

TEST(JsonBuilding, RefusesASecondContentAndLeavesTheFirst) {
  gFailedAssertions = 0;
  const QXAssertionHandler before = qxSetAssertionHandler([](const char*, const char*, int) { ++gFailedAssertions; });
  const CODefer restore([before] { qxSetAssertionHandler(before); });
  COJson document;
  const std::string text = "third";
  COJsonValue* value = document.addKeyValue("v");
  value->setStringValue("first");

  value->setStringValue("second");
  qx::setStringView(*value, text);
  value->setIntValue(2);
  value->setDoubleValue(2);
  value->setBoolValue(true);
  value->setAsArray();

  EXPECT_EQ(value->addKeyValue("k"), nullptr);
  EXPECT_EQ(value->addArrayItem(), nullptr);
  EXPECT_EQ(COJson("no JSON").addKeyValue("k"), nullptr);
  EXPECT_EQ(gFailedAssertions, 9);
  EXPECT_EQ(document.obtainJsonString(), R"({"v":"first"})");
}

TEST(JsonBuilding, WritesAndDestroysDocumentsOfAnyDepth) {
  constexpr std::size_t kDepth = 100'000;
  COJson document("[]");

  COJsonValue* value = &document;
  for (std::size_t i = 1; i < kDepth; ++i) value = value->addArrayItem();
  value->setAsArray();

  EXPECT_EQ(document.obtainJsonString(), nest(kDepth));
}

TEST(JsonFromVariant, RendersListsAndMapsWithAllTheyHold) {
  const CMVariantMap map{{"z", "text"}, {"a", 1}, {"list", CMVariantList{{}, 0.5, CMVariantMap{}, CMVariantList{}}}};
  const std::vector<std::pair<CMVariant, std::string>> cases{
      {map, R"({"a":1,"list":[null,0.5,{},[]],"z":"text"})"},
      {CMVariantList{CMVariantList{}, map, 1}, R"([[],{"a":1,"list":[null,0.5,{},[]],"z":"text"},1])"},
      {CMVariantMap{}, "{}"},
      {{}, "{}"},
  };
  for (const auto& [variant, expected] : cases) {
    const std::unique_ptr<COJson> document(qxCreateCOJsonFromCMVariant(variant));

    EXPECT_EQ(document->obtainJsonString(), expected);
  }
}
