// SPDX-License-Identifier: Apache-2.0
// Structures of real servers, which the test starts.
#include <gtest/gtest.h>

#include <memory>

#include "support/server_tests.h"
#include "zeamariadb/read_structure.h"
#include "zeapostgresql/read_structure.h"

using zeakit::ReadResult;

namespace {

zeakit::StructureOptions only(const std::vector<std::string>& schemas) {
  zeakit::StructureOptions filter;
  filter.includedSchemas = schemas;
  return filter;
}

/// Tables with 14 columns each.
std::string manyTables(const std::string& schema) {
  std::string script;
  for (int table = 0; table < 600; ++table) {
    script += "CREATE TABLE " + schema + ".t" + std::to_string(table) + " (id int PRIMARY KEY";
    for (int column = 1; column < 14; ++column) script += ", c" + std::to_string(column) + " int";
    script += ");";
  }
  return script;
}

std::size_t countOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

}  // namespace

TEST_F(PostgreSql, ReadsEveryKindOfObject) {
  run(connect(),
      "CREATE SCHEMA shop; CREATE SCHEMA \"o\"\"d`d\";"
      "CREATE TYPE shop.mood AS ENUM ('sad', 'o''k');"
      "CREATE TABLE shop.customer (id int GENERATED ALWAYS AS IDENTITY PRIMARY KEY, mail varchar(40) NOT NULL UNIQUE,"
      " mood shop.mood DEFAULT 'sad', twice int GENERATED ALWAYS AS (length(mail) * 2) STORED, CHECK (length(mail) > "
      "2));"
      "COMMENT ON TABLE shop.customer IS 'who */ buys'; COMMENT ON COLUMN shop.customer.mail IS 'not /* shown';"
      "CREATE TABLE shop.line (ord int, pos int, PRIMARY KEY (pos, ord));"
      "CREATE TABLE \"o\"\"d`d\".\"a\nb\" (x int, y int, FOREIGN KEY (x, y) REFERENCES shop.line (pos, ord));"
      "CREATE TABLE shop.log (at date, id int REFERENCES shop.customer) PARTITION BY RANGE (at);"
      "CREATE TABLE shop.log_2024 PARTITION OF shop.log FOR VALUES FROM ('2024-01-01') TO ('2025-01-01');"
      "CREATE VIEW shop.moody AS SELECT id FROM shop.customer; CREATE MATERIALIZED VIEW shop.kept AS SELECT 1 AS one;");
  const ReadResult result = zeapostgresql::readStructure(address(), only({"shop", "o\"d`d"}));
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(
      result.structure.document,
      R"x([{"schemas":[{"schema_name":"o\"d`d","tables":[{"name":"a\nb","fields":[{"name":"x","type":"integer"},)x"
      R"x({"name":"y","type":"integer"}],"pkeys":[],"fkeys":[{"fields":["x","y"],"ref_schema":"shop",)x"
      R"x("ref_table":"line","ref_fields":["pos","ord"]}]}],"views":[],"mviews":[]},{"schema_name":"shop","tables":[)x"
      R"x({"name":"customer","fields":[{"name":"id","type":"integer NOT NULL"},{"name":"mail","type":)x"
      R"x("character varying(40) NOT NULL UNIQUE /* not / * shown */"},{"name":"mood","type":)x"
      R"x("shop.mood DEFAULT 'sad'::shop.mood /* one of 'sad', 'o''k' */"},{"name":"twice","type":)x"
      R"x("integer GENERATED ALWAYS AS ((length((mail)::text) * 2)), CHECK ((length((mail)::text) > 2))"}],)x"
      R"x("pkeys":["id"],"fkeys":[]},{"name":"line","fields":[{"name":"ord","type":"integer NOT NULL"},)x"
      R"x({"name":"pos","type":"integer NOT NULL"}],"pkeys":["pos","ord"],"fkeys":[]},{"name":"log","fields":[)x"
      R"x({"name":"at","type":"date"},{"name":"id","type":"integer"}],"pkeys":[],"fkeys":[{"fields":["id"],)x"
      R"x("ref_schema":"shop","ref_table":"customer","ref_fields":["id"]}]}],"views":[{"name":"moody","fields":[)x"
      R"x({"name":"id","type":"integer"}],"pkeys":[],"fkeys":[]}],"mviews":[{"name":"kept","fields":[)x"
      R"x({"name":"one","type":"integer"}],"pkeys":[],"fkeys":[]}]}]}])x");
  ASSERT_EQ(result.structure.instructions.size(), 3u);
  EXPECT_EQ(result.structure.instructions[1].second, "What the tables hold:\n`shop`.`customer`: who * / buys");
  EXPECT_NE(result.structure.instructions[2].second.find("FROM shop.customer"), std::string::npos);
  EXPECT_TRUE(result.structure.notes.empty());
}

TEST_F(PostgreSql, LeavesTheConnectionAsItWas) {
  const Connection connection = connect();
  run(connection, "CREATE SCHEMA kept; CREATE TABLE kept.\"\u00e4\" (id int)");
  run(connection, "SET client_encoding = 'LATIN1'");
  run(connection, "BEGIN");
  run(connection, "CREATE TABLE kept.uncommitted (id int)");
  const ReadResult inside = zeapostgresql::readStructure(connection.get(), only({"kept"}));
  EXPECT_NE(inside.structure.document.find("uncommitted"), std::string::npos) << inside.error;
  EXPECT_NE(inside.structure.document.find("\u00e4"), std::string::npos);
  run(connection, "COMMIT");
  const ReadResult outside = zeapostgresql::readStructure(connection.get(), only({"kept"}));
  EXPECT_EQ(outside.structure.document, inside.structure.document);
  EXPECT_EQ(run(connection, "SHOW client_encoding"), "LATIN1");
  run(connection, "DROP TABLE kept.uncommitted");
}

TEST_F(PostgreSql, LeavesOutWhatTheRoleMayNotRead) {
  run(connect(),
      "CREATE SCHEMA own; CREATE ROLE reader LOGIN; GRANT USAGE ON SCHEMA own TO reader;"
      "CREATE TABLE own.told (id int); CREATE TABLE own.untold (id int); GRANT SELECT ON own.told TO reader");
  const ReadResult result = zeapostgresql::readStructure(address("reader"), only({"own"}));
  EXPECT_EQ(result.structure.document.find("untold"), std::string::npos) << result.error;
  EXPECT_NE(result.structure.document.find("told"), std::string::npos);
  EXPECT_EQ(result.structure.notes, std::vector<std::string>{"own.untold is left out: the role may not read it."});
}

TEST_F(PostgreSql, SaysWhyNothingCanBeRead) {
  const Connection failed = connect();
  run(failed, "BEGIN");
  PQclear(PQexec(failed.get(), "nonsense"));
  const Connection busy = connect();
  EXPECT_EQ(PQsendQuery(busy.get(), "SELECT 1"), 1);
  EXPECT_EQ(zeapostgresql::readStructure(failed.get()).error,
            "The connection's transaction has failed; it can be read once that is rolled back.");
  EXPECT_EQ(zeapostgresql::readStructure(busy.get()).error,
            "The connection to the database is busy with something else.");
  EXPECT_EQ(zeapostgresql::readStructure(static_cast<PGconn*>(nullptr)).error,
            "The connection to the database is not open.");
  EXPECT_EQ(zeapostgresql::readStructure("password=hidden oops").error, "The address of the database cannot be read.");
  const std::string refused = zeapostgresql::readStructure(address("nobody") + " password=hidden").error;
  EXPECT_EQ(refused.substr(0, 31), "The database cannot be opened: ");
  EXPECT_EQ(refused.find("hidden"), std::string::npos);
}

TEST_F(PostgreSql, ReadsHundredsOfTables) {
  run(connect(), "CREATE SCHEMA many;" + manyTables("many"));
  const ReadResult result = zeapostgresql::readStructure(address(), only({"many"}));
  EXPECT_EQ(countOf(result.structure.document, "\"type\":"), 8400u) << result.error;
}

TEST_F(MariaDb, ReadsEveryKindOfObject) {
  run(connect(),
      "CREATE DATABASE shop; CREATE DATABASE `o``d\"d`;"
      "CREATE TABLE shop.customer (id int AUTO_INCREMENT PRIMARY KEY, mail varchar(40) NOT NULL UNIQUE COMMENT"
      " 'not /* shown', mood enum('sad', 'o''k') DEFAULT 'sad', twice int AS (length(mail) * 2) STORED,"
      " CHECK (length(mail) > 2)) COMMENT 'who */ buys';"
      "CREATE TABLE shop.line (ord int, pos int, PRIMARY KEY (pos, ord));"
      "CREATE TABLE `o``d\"d`.`a\nb` (x int, y int, FOREIGN KEY (x, y) REFERENCES shop.line (pos, ord));"
      "CREATE TABLE shop.log (at date) PARTITION BY HASH (year(at)) PARTITIONS 2;"
      "CREATE VIEW shop.moody AS SELECT id FROM shop.customer; CREATE SEQUENCE shop.numbers;");
  const ReadResult result = zeamariadb::readStructure(address(), only({"shop", "o`d\"d"}));
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(
      result.structure.document,
      R"x([{"schemas":[{"schema_name":"o`d\"d","tables":[{"name":"a\nb","fields":[{"name":"x","type":"int(11)"},)x"
      R"x({"name":"y","type":"int(11)"}],"pkeys":[],"fkeys":[{"fields":["x","y"],"ref_schema":"shop",)x"
      R"x("ref_table":"line","ref_fields":["pos","ord"]}]}],"views":[],"mviews":[]},{"schema_name":"shop","tables":[)x"
      R"x({"name":"customer","fields":[{"name":"id","type":"int(11) NOT NULL"},{"name":"mail","type":)x"
      R"x("varchar(40) NOT NULL UNIQUE /* not / * shown */"},{"name":"mood","type":)x"
      R"x("enum('sad','o''k') DEFAULT 'sad'"},{"name":"twice","type":)x"
      R"x("int(11) GENERATED ALWAYS AS (octet_length(`mail`) * 2), CHECK (octet_length(`mail`) > 2)"}],)x"
      R"x("pkeys":["id"],"fkeys":[]},{"name":"line","fields":[{"name":"ord","type":"int(11) NOT NULL"},)x"
      R"x({"name":"pos","type":"int(11) NOT NULL"}],"pkeys":["pos","ord"],"fkeys":[]},{"name":"log","fields":[)x"
      R"x({"name":"at","type":"date"}],"pkeys":[],"fkeys":[]}],"views":[{"name":"moody","fields":[)x"
      R"x({"name":"id","type":"int(11) NOT NULL DEFAULT 0"}],"pkeys":[],"fkeys":[]}],"mviews":[]}]}])x");
  ASSERT_EQ(result.structure.instructions.size(), 3u);
  EXPECT_EQ(result.structure.instructions[1].second, "What the tables hold:\n`shop`.`customer`: who * / buys");
  EXPECT_TRUE(result.structure.notes.empty());
}

TEST_F(MariaDb, LeavesTheConnectionAsItWas) {
  const Connection connection = connect();
  run(connection, "CREATE DATABASE kept; CREATE TABLE kept.t (id int, text int); CREATE TABLE kept.`\u00e4` (id int)");
  run(connection, "SET NAMES latin1 COLLATE latin1_german1_ci, sql_select_limit = 1, sql_mode = 'ANSI_QUOTES'");
  run(connection, "START TRANSACTION; INSERT INTO kept.t VALUES (1, 2)");
  const ReadResult result = zeamariadb::readStructure(connection.get(), only({"kept"}));
  EXPECT_EQ(countOf(result.structure.document, "\"type\":"), 3u) << result.error;
  EXPECT_NE(result.structure.document.find("\u00e4"), std::string::npos);
  EXPECT_EQ(run(connection,
                "SELECT concat_ws(' ', @@character_set_client, @@character_set_results,"
                " @@collation_connection, @@sql_select_limit)"),
            "latin1 latin1 latin1_german1_ci 1");
  run(connection, "ROLLBACK");
  EXPECT_EQ(run(connection, "SELECT count(*) FROM kept.t"), "0") << "the transaction was the caller's";
}

TEST_F(MariaDb, TellsWhatTheUserMaySeeAndWhyNothingCanBeRead) {
  const Connection connection = connect();
  run(connection,
      "CREATE DATABASE own; CREATE TABLE own.told (id int); CREATE TABLE own.untold (id int);"
      "CREATE USER reader@localhost; GRANT SELECT ON own.told TO reader@localhost");
  const ReadResult result = zeamariadb::readStructure(address("reader"), only({"own"}));
  EXPECT_EQ(countOf(result.structure.document, "\"name\":\"told\""), 1u) << result.error;
  EXPECT_EQ(result.structure.document.find("untold"), std::string::npos);
  auto wrong = address("nobody");
  wrong.password = "hidden";
  const std::string refused = zeamariadb::readStructure(wrong).error;
  EXPECT_EQ(refused.substr(0, 31), "The database cannot be opened: ");
  EXPECT_EQ(refused.find("hidden"), std::string::npos);
  EXPECT_EQ(zeamariadb::readStructure(static_cast<MYSQL*>(nullptr)).error,
            "The connection to the database is not open.");
  ASSERT_EQ(mysql_query(connection.get(), "SELECT 1"), 0);  // its rows wait
  EXPECT_NE(zeamariadb::readStructure(connection.get()).error, "");
  mysql_free_result(mysql_store_result(connection.get()));
}

TEST_F(MariaDb, ReadsHundredsOfTables) {
  run(connect(), "CREATE DATABASE many; SET default_storage_engine = MEMORY;" + manyTables("many"));
  auto one = address();
  one.database = "many";
  EXPECT_EQ(countOf(zeamariadb::readStructure(one).structure.document, "\"type\":"), 8400u);
}
