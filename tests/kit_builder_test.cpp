// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <qx/json.h>

#include <algorithm>

#include "zeakit/structure_builder.h"

using namespace zeakit;
using std::nullopt;
using Row = std::vector<std::optional<std::string>>;
using Rows = std::vector<std::pair<RowKind, Row>>;

namespace {

const Rows kShop = {
    {RowKind::Relation, {"s", "orders", "TABLE", nullopt, "all */ orders"}},
    {RowKind::Relation, {"s", "customer", "BASE TABLE", nullopt, nullopt}},
    {RowKind::Relation, {"s", "open", "VIEW", nullopt, nullopt}},
    {RowKind::Column, {"s", "orders", "1", "id", "int", "NO", nullopt, nullopt, nullopt, nullopt}},
    {RowKind::Column, {"s", "orders", "2", "cust", "int", "YES", "7", nullopt, "whose */ DROP /* \n x", nullopt}},
    {RowKind::Column, {"s", "orders", "10", "state", "st", "YES", nullopt, nullopt, nullopt, "'a', 'b'"}},
    {RowKind::Column, {"s", "customer", "1", "id", "int", "NO", nullopt, nullopt, nullopt, nullopt}},
    {RowKind::Column, {"s", "open", "1", "id", "int", "YES", nullopt, nullopt, nullopt, nullopt}},
    {RowKind::ViewText, {"s", "open", "SELECT id FROM orders"}},
    {RowKind::PrimaryKey, {"s", "customer", nullopt, "1", "id"}},
    {RowKind::ForeignKey, {"s", "orders", "f", "1", "cust", "s", "customer", nullopt}},
    {RowKind::UniqueKey, {"s", "orders", "u", "1", "id"}},
    {RowKind::Check, {"s", "orders", "c", "cust > 0"}}};

const std::string kShopDocument =
    R"([{"schemas":[{"schema_name":"s","tables":[{"name":"customer","fields":[{"name":"id","type":"int NOT NULL"}],)"
    R"("pkeys":["id"],"fkeys":[]},{"name":"orders","fields":[{"name":"id","type":"int NOT NULL UNIQUE"},)"
    R"({"name":"cust","type":"int DEFAULT 7 /* whose * / DROP / *   x */"},)"
    R"x({"name":"state","type":"st /* one of 'a', 'b' */, CHECK (cust > 0)"}],"pkeys":[],)x"
    R"("fkeys":[{"fields":["cust"],"ref_schema":"s","ref_table":"customer","ref_fields":["id"]}]}],)"
    R"("views":[{"name":"open","fields":[{"name":"id","type":"int"}],"pkeys":[],"fkeys":[]}],"mviews":[]}]}])";

BuiltStructure built(const Rows& rows, StructureOptions options = {}, Dialect dialect = Dialect::PostgreSQL) {
  StructureBuilder builder(dialect, std::move(options));
  for (const auto& [kind, row] : rows) EXPECT_TRUE(builder.addRow(kind, row));
  return builder.build();
}

bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

TEST(StructureBuilder, GivesTheSameFromRowsInAnyOrderAndTwice) {
  Rows rows = kShop;
  rows.insert(rows.end(), kShop.begin(), kShop.end());
  EXPECT_EQ(built(rows).document, kShopDocument);
  std::reverse(rows.begin(), rows.end());
  const BuiltStructure result = built(rows);
  EXPECT_EQ(result.document, kShopDocument);
  EXPECT_TRUE(result.notes.empty());
  ASSERT_EQ(result.instructions.size(), 3u);
  EXPECT_TRUE(holds(result.instructions[0].second, "PostgreSQL"));
  EXPECT_EQ(result.instructions[1].second, "What the tables hold:\n`s`.`orders`: all * / orders");
  EXPECT_EQ(result.instructions[2].second, "The queries behind the views:\n`s`.`open`: SELECT id FROM orders");
}

TEST(StructureBuilder, LeavesOutWhatIsExcludedAndAllThatNamesIt) {
  for (const char* pattern : {"customer", "s.CUST*"}) {
    const auto result = built(kShop, {{}, {}, {}, {pattern}, {}, {}});
    EXPECT_FALSE(holds(result.document, "customer")) << pattern;
    EXPECT_TRUE(holds(result.document, "\"fkeys\":[]")) << pattern;
  }
  const auto withoutColumn = built(kShop, {{}, {}, {}, {}, {}, {"cust"}}).document;
  EXPECT_FALSE(holds(withoutColumn, "\"cust\"") || holds(withoutColumn, "CHECK") || holds(withoutColumn, "ref_table"));
  for (const auto& [key, text] : built(kShop, {{}, {}, {}, {"orders"}, {}, {}}).instructions) {
    EXPECT_FALSE(holds(text, "orders")) << key;
  }
  EXPECT_EQ(built(kShop, {{"other"}, {}, {}, {}, {}, {}}).document, R"([{"schemas":[]}])");
}

TEST(StructureBuilder, SwitchesOffWhatATypeCarries) {
  StructureOptions plain;
  plain.hasNotNull = plain.hasDefaults = plain.hasUnique = plain.hasChecks = plain.hasEnumValues = false;
  plain.hasColumnComments = plain.hasTableComments = plain.hasViewTexts = false;
  const auto result = built(kShop, plain);
  EXPECT_TRUE(holds(result.document, R"({"name":"cust","type":"int"},{"name":"state","type":"st"})"));
  EXPECT_EQ(result.instructions.size(), 1u);
}

TEST(StructureBuilder, RefusesWrongRowsWithANote) {
  StructureBuilder builder(Dialect::MySQL);
  EXPECT_FALSE(builder.addRow(RowKind::Relation, {}));
  EXPECT_FALSE(builder.addRow(RowKind::Relation, {"s", nullopt, "TABLE", nullopt, nullopt}));
  EXPECT_FALSE(builder.addRow(RowKind::PrimaryKey, {"s", "t", "k", "first", "id"}));
  EXPECT_FALSE(builder.addRow(static_cast<RowKind>(99), {"s"}));
  EXPECT_FALSE(builder.addRow(static_cast<RowKind>(-1), {"s"}));
  EXPECT_TRUE(builder.addRow(RowKind::Column, {"s", "t", "1", "c", "", "", nullopt, nullopt, nullopt, nullopt}));
  EXPECT_EQ(builder.build().notes.size(), 5u);
}

TEST(StructureBuilder, PassesAnyBytesInNames) {
  const std::string name("a`\"'\n\0\xFFz", 8);
  const auto result = built({{RowKind::Relation, {"", name, "TABLE", nullopt, name}},
                             {RowKind::Column, {"", name, "1", name, name, nullopt, name, name, name, name}}});
  COJson document(result.document);
  ASSERT_TRUE(document.getIsValidJson());
  EXPECT_TRUE(holds(result.document, R"({"name":"a`\"'\n\u0000)"
                                     "\xEF\xBF\xBD"
                                     R"(z")"))
      << result.document;
}

TEST(StructureBuilder, JoinsWhatTheStandardsCatalogTellsInPieces) {
  Rows rows(kShop.begin(), kShop.begin() + 9);
  rows.push_back({RowKind::Reference, {"s", "f", "s", "p"}});
  rows.push_back({RowKind::Constraint, {"s", "orders", "f", "FOREIGN KEY"}});
  rows.push_back({RowKind::Constraint, {"s", "orders", "u", "UNIQUE"}});
  rows.push_back({RowKind::Constraint, {"s", "orders", "c", "CHECK"}});
  rows.push_back({RowKind::Constraint, {"s", "customer", "p", "PRIMARY KEY"}});
  rows.push_back({RowKind::KeyColumn, {"s", "orders", "f", "1", "cust", "1"}});
  rows.push_back({RowKind::KeyColumn, {"s", "orders", "u", "1", "id", nullopt}});
  rows.push_back({RowKind::KeyColumn, {"s", "customer", "p", "1", "id", nullopt}});
  rows.push_back({RowKind::Check, {"s", nullopt, "c", "cust > 0"}});
  EXPECT_EQ(built(rows, {}, Dialect::InformationSchema).document, kShopDocument);
}

TEST(CatalogQueries, CloseTheNamesOfSchemas) {
  const std::string hostile = "x'\\'; DROP";
  const std::pair<Dialect, std::string> cases[] = {{Dialect::PostgreSQL, "E'x''\\\\''; DROP'"},
                                                   {Dialect::MySQL, "_utf8mb4 X'78275C273B2044524F50'"},
                                                   {Dialect::MariaDB, "_utf8mb4 X'78275C273B2044524F50'"},
                                                   {Dialect::SQLite, "'x''\\''; DROP'"},
                                                   {Dialect::InformationSchema, "'x''\\''; DROP'"}};
  for (const auto& [dialect, literal] : cases) {
    for (const CatalogQuery& query : catalogQueries(dialect, {hostile})) {
      EXPECT_TRUE(holds(query.sql, " IN (" + literal + ")")) << query.sql;
    }
    for (const CatalogQuery& query : catalogQueries(dialect, {std::string("a\0b", 3)})) {
      EXPECT_TRUE(holds(query.sql, " IN (NULL)")) << query.sql;
    }
  }
}
