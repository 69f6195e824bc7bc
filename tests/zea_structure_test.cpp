// SPDX-License-Identifier: Apache-2.0
// From the structure document to the system prompt.
#include <gtest/gtest.h>

#include "support/providers.h"

namespace {

std::string linesOf(const CMVariantMap& map) {
  std::string lines;
  for (const CMVariant& line : *map.at("instructions").listIfAny()) lines += *line.stringIfAny() + "\n";
  return lines;
}

/// The system prompt that an assistant makes of a document alone. The rendered list holds the same lines.
std::string promptOf(const std::string& document) {
  const auto assistant = newAssistant(ZEAAssistantType::OPENAI_v1, "k", "");
  set(*assistant, "db_structure", document);
  const std::string prompt = get(*assistant, "combined_instructions").stringValue();
  const CMVariant rendered = get(*assistant, "db_structure");
  std::string lines;
  for (const CMVariant& catalog : *rendered.listIfAny()) {
    lines += linesOf(*catalog.mapIfAny());
    for (const CMVariant& schema : *catalog.mapIfAny()->at("schemas").listIfAny()) lines += linesOf(*schema.mapIfAny());
  }
  EXPECT_EQ(lines.empty() ? lines : lines + "\n", prompt);
  return prompt;
}

/// The statement of one table, without the line feeds after it.
std::string statementOf(const std::string& table, const std::string& schemaName = "") {
  const std::string name = schemaName.empty() ? "" : R"("schema_name":")" + schemaName + R"(",)";
  std::string prompt = promptOf(R"([{"schemas":[{)" + name + R"("tables":[)" + table + "]}]}]");
  EXPECT_EQ(prompt.substr(prompt.size() - 2), "\n\n");
  return prompt.substr(0, prompt.size() - 2);
}

constexpr char kWorkedExample[] = R"([
  {
    "catalog_name": "sales",
    "schemas": [
      {
        "schema_name": "shop",
        "tables": [
          {
            "name": "orders",
            "fields": [
              { "name": "id", "type": "int" },
              { "name": "customer", "type": "int" }
            ],
            "pkeys": [ "id" ],
            "fkeys": [
              {
                "fields": [ "customer" ],
                "ref_schema": "shop",
                "ref_table": "customers",
                "ref_fields": [ "id" ]
              }
            ]
          }
        ],
        "views": [
          {
            "name": "open_orders",
            "fields": [ { "name": "id", "type": "int" } ]
          }
        ]
      }
    ]
  }
])";

TEST(Prompt, HoldsUserInstructionsSystemInstructionsAndStatementsInThisOrder) {
  const auto assistant = newAssistant(ZEAAssistantType::OPENAI_v1, "k", "");
  set(*assistant, "db_structure", kWorkedExample);
  set(*assistant, "user_instructions", "Answer briefly.");
  set(*assistant, "system_instructions", CMVariantMap{{"b", "No prose."}, {"a", "Use SQL."}});

  EXPECT_EQ(get(*assistant, "combined_instructions").stringValue(),
            "Answer briefly.\n\nUse SQL.\nNo prose.\nUSE CATALOG `sales`\n"
            "CREATE TABLE `shop`.`orders` (`id` int, `customer` int, PRIMARY KEY(`id`), "
            "FOREIGN KEY(`customer`) REFERENCES `shop`.`customers`(`id`))\n"
            "CREATE VIEW `shop`.`open_orders` (`id` int)\n\n");
}

TEST(Prompt, LeavesNoTraceOfPartsThatAreEmpty) {
  const auto assistant = newAssistant(ZEAAssistantType::OPENAI_v1, "k", "");
  const auto prompt = [&] { return get(*assistant, "combined_instructions").stringValue(); };

  EXPECT_EQ(prompt(), "");
  set(*assistant, "system_instructions", CMVariantMap{{"a", "A"}, {"b", "B"}, {"c", 1}});
  EXPECT_EQ(prompt(), "A\nB\n");
  set(*assistant, "system_instructions", CMVariantMap{{"a", ""}, {"gone", ""}});
  EXPECT_EQ(prompt(), "B\n");
  set(*assistant, "system_instructions", CMVariantMap{{"b", ""}});
  set(*assistant, "user_instructions", "U");
  EXPECT_EQ(prompt(), "U\n\n");
}

TEST(Structure, ReadsBackAsTheRenderedList) {
  const auto assistant = newAssistant(ZEAAssistantType::OPENAI_v1, "k", "");
  set(*assistant, "db_structure", kWorkedExample);
  const CMVariant read = get(*assistant, "db_structure");
  const std::unique_ptr<COJson> json(qxCreateCOJsonFromCMVariant(read));

  EXPECT_EQ(json->obtainJsonString(),
            R"-([{"catalog_name":"sales","instructions":["USE CATALOG `sales`"],"schemas":[{"instructions":[)-"
            R"-("CREATE TABLE `shop`.`orders` (`id` int, `customer` int, PRIMARY KEY(`id`), )-"
            R"-(FOREIGN KEY(`customer`) REFERENCES `shop`.`customers`(`id`))",)-"
            R"-("CREATE VIEW `shop`.`open_orders` (`id` int)"],"schema_name":"shop"}]}])-");
}

TEST(Structure, CarriesIdsIntoTheRenderedListAlone) {
  const auto assistant = newAssistant(ZEAAssistantType::OPENAI_v1, "k", "");
  set(*assistant, "db_structure",
      R"([{"catalog_id":"c1","catalog_name":"","schemas":[{"schema_id":"s1","tables":[1]}]}])");
  const CMVariant read = get(*assistant, "db_structure");
  const std::unique_ptr<COJson> json(qxCreateCOJsonFromCMVariant(read));

  EXPECT_EQ(json->obtainJsonString(), R"([{"catalog_id":"c1","catalog_name":"","instructions":["USE CATALOG ``"],)"
                                      R"("schemas":[{"instructions":[""],"schema_id":"s1"}]}])");
  EXPECT_EQ(get(*assistant, "combined_instructions").stringValue(), "USE CATALOG ``\n\n\n");
}

TEST(Structure, IsTakenAsAListOfTheSameShape) {
  const auto assistant = newAssistant(ZEAAssistantType::OPENAI_v1, "k", "");
  const CMVariantMap field = {{"name", "id"}, {"type", "int"}};
  const CMVariantMap table = {{"name", "t"}, {"fields", CMVariantList{field}}};
  const CMVariantMap schema = {{"tables", CMVariantList{table}}};

  set(*assistant, "db_structure", CMVariantList{CMVariantMap{{"schemas", CMVariantList{schema}}}});

  EXPECT_EQ(get(*assistant, "combined_instructions").stringValue(), "CREATE TABLE `t` (`id` int)\n\n");
}

TEST(Structure, PassesOverWhatIsNotAsItShouldBe) {
  const struct {
    const char* document;
    const char* prompt;
  } kCases[] = {
      {"[]", ""},
      {"{}", ""},
      {"\"text\"", ""},
      {R"([1,null,"x",[],{"catalog_name":"c","schemas":[]}])", "USE CATALOG `c`\n\n"},
      {R"([{"catalog_name":"no schemas"},{"catalog_name":1,"schemas":[]},{"catalog_id":1,"schemas":[]}])", ""},
      {R"([{"catalog_name":null,"schemas":[]},{"catalog_name":"","schemas":[]}])", "USE CATALOG ``\n\n"},
      {R"([{"catalog_id":"i","schemas":[{"schema_id":"s"}]}])", ""},
      {R"([{"schemas":[{"schema_name":1},{"schema_id":1},{"tables":{}},{"views":1},{"mviews":"x"},7]}])", ""},
      {R"([{"schemas":[{"mviews":[{"name":"m","fields":[]}],"views":[{"name":"v","fields":[]}],)"
       R"("tables":[{"name":"t","fields":[]}]}]}])",
       "CREATE TABLE `t` ()\nCREATE VIEW `v` ()\nCREATE MATERIALIZED VIEW `m` ()\n\n"},
      {R"([{"schemas":[{"tables":[{"name":"a","fields":[]},{"name":1,"fields":[]},{"name":"b","fields":[]}]}]}])",
       "CREATE TABLE `a` ()\n\nCREATE TABLE `b` ()\n\n"},
  };
  for (const auto& row : kCases) EXPECT_EQ(promptOf(row.document), row.prompt) << row.document;
}

TEST(Structure, PutsCatalogsWithoutNameFirstInReverseOrder) {
  std::string document = "[";
  std::string expected;
  for (int index = 0; index < 40; ++index) {
    const std::string number = std::to_string(index);
    const std::string name = index % 4 == 0 ? R"("catalog_name":"c)" + number + R"(",)" : "";
    document +=
        (index > 0 ? ",{" : "{") + name + R"("schemas":[{"tables":[{"name":"t)" + number + R"(","fields":[]}]}]})";
    if (index % 4 == 0) {
      expected += "USE CATALOG `c" + number + "`\nCREATE TABLE `t" + number + "` ()\n";
    } else {
      expected.insert(0, "CREATE TABLE `t" + number + "` ()\n");
    }
  }

  EXPECT_EQ(promptOf(document + "]"), expected + "\n");
}

TEST(Statement, IsWrittenWholeOrNotAtAll) {
  const struct {
    const char* table;
    const char* statement;
  } kCases[] = {
      {R"({"name":"t","fields":[{"name":"a","type":"int"},{"name":"b`c","type":"text NOT NULL"}],"pkeys":["a","b`c"]})",
       "CREATE TABLE `t` (`a` int, `b`c` text NOT NULL, PRIMARY KEY(`a`, `b`c`))"},
      {R"({"name":"t","fields":[],"pkeys":["a"],"fkeys":[1]})", "CREATE TABLE `t` ()"},
      {R"({"name":"t","fields":[{"name":"a","type":""}],"pkeys":[],"fkeys":[]})", "CREATE TABLE `t` (`a` )"},
      {R"({"name":"t","fields":[{"name":"a","type":"int"}],"fkeys":[)"
       R"({"fields":["a"],"ref_table":"x","ref_fields":[]},{"fields":[],"ref_table":"x","ref_fields":["i"]},)"
       R"({"fields":["a","b"],"ref_schema":"","ref_table":"y","ref_fields":["i","j"]}]})",
       "CREATE TABLE `t` (`a` int, FOREIGN KEY(`a`, `b`) REFERENCES ``.`y`(`i`, `j`))"},
      {"null", ""},
      {R"({"fields":[]})", ""},
      {R"({"name":"t","fields":{}})", ""},
      {R"({"name":"t","fields":[],"pkeys":"a"})", ""},
      {R"({"name":"t","fields":[],"fkeys":{}})", ""},
      {R"({"name":"t","fields":[1]})", ""},
      {R"({"name":"t","fields":[{"name":"a"}]})", ""},
      {R"({"name":"t","fields":[{"name":"a","type":"int"}],"pkeys":["a",1]})", ""},
      {R"({"name":"t","fields":[{"name":"a","type":"int"}],"fkeys":[{"ref_table":"x","ref_fields":["i"]}]})", ""},
      {R"({"name":"t","fields":[{"name":"a","type":"int"}],"fkeys":[{"fields":["a"],"ref_fields":["i"]}]})", ""},
      {R"({"name":"t","fields":[{"name":"a","type":"int"}],"fkeys":[{"fields":["a"],"ref_table":"x"}]})", ""},
      {R"({"name":"t","fields":[{"name":"a","type":"int"}],)"
       R"("fkeys":[{"fields":["a"],"ref_schema":1,"ref_table":"x","ref_fields":["i"]}]})",
       ""},
      {R"({"name":"t","fields":[{"name":"a","type":"int"}],"fkeys":[{"fields":[1],"ref_table":"x","ref_fields":["i"]}]})",
       ""},
      {R"({"name":"t","fields":[{"name":"a","type":"int"}],"fkeys":[{"fields":["a"],"ref_table":"x","ref_fields":[1]}]})",
       ""},
  };
  for (const auto& row : kCases) {
    const std::string prompt = promptOf(R"([{"schemas":[{"tables":[)" + std::string(row.table) + "]}]}]");
    EXPECT_EQ(prompt, row.statement + std::string("\n\n")) << row.table;
  }
  EXPECT_EQ(statementOf(R"({"name":"t","fields":[]})", "s"), "CREATE TABLE `s`.`t` ()");
}

TEST(Structure, PassesBytesThroughUnchanged) {
  EXPECT_EQ(statementOf("{\"name\":\"\xff\xfe \\u00e4\\n\",\"fields\":[]}"), "CREATE TABLE `\xff\xfe \xc3\xa4\n` ()");
}

}  // namespace
