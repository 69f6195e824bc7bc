// SPDX-License-Identifier: Apache-2.0
// Tests over a server, which the first of them starts.
#pragma once

#include <gtest/gtest.h>
#include <libpq-fe.h>
#include <mysql.h>

#include <memory>
#include <string>

#include "support/database_server.h"
#include "zeamariadb/address.h"

class PostgreSql : public testing::Test {
 protected:
  static void SetUpTestSuite() { server = std::make_unique<support::PostgreSqlServer>(); }
  static void TearDownTestSuite() { server.reset(); }

  struct Finish {
    void operator()(PGconn* connection) const { PQfinish(connection); }
  };
  using Connection = std::unique_ptr<PGconn, Finish>;

  static std::string address(const std::string& user = "zea") {
    return "host=" + server->folder().string() + " dbname=postgres user=" + user;
  }
  static Connection connect(const std::string& user = "zea") { return Connection(PQconnectdb(address(user).c_str())); }
  static std::string run(const Connection& connection, const std::string& sql) {
    PGresult* const result = PQexec(connection.get(), sql.c_str());
    EXPECT_NE(PQresultStatus(result), PGRES_FATAL_ERROR) << PQerrorMessage(connection.get());
    std::string value = PQntuples(result) > 0 ? PQgetvalue(result, 0, 0) : "";
    PQclear(result);
    return value;
  }

  static inline std::unique_ptr<support::PostgreSqlServer> server;
};

class MariaDb : public testing::Test {
 protected:
  static void SetUpTestSuite() { server = std::make_unique<support::MariaDbServer>(); }
  static void TearDownTestSuite() { server.reset(); }

  struct Close {
    void operator()(MYSQL* connection) const { mysql_close(connection); }
  };
  using Connection = std::unique_ptr<MYSQL, Close>;

  static zeamariadb::Address address(const std::string& user = "zea") {
    zeamariadb::Address address;
    address.socket = server->folder() / "s";
    address.user = user;
    return address;
  }
  static Connection connect() {
    Connection connection(mysql_init(nullptr));
    EXPECT_NE(mysql_real_connect(connection.get(), nullptr, "zea", nullptr, nullptr, 0, address().socket.c_str(),
                                 CLIENT_MULTI_STATEMENTS),
              nullptr);
    return connection;
  }
  static std::string run(const Connection& connection, const std::string& sql) {
    std::string value;
    EXPECT_EQ(mysql_real_query(connection.get(), sql.data(), sql.size()), 0) << mysql_error(connection.get());
    do {
      MYSQL_RES* const result = mysql_store_result(connection.get());
      if (result == nullptr) continue;
      const MYSQL_ROW row = mysql_fetch_row(result);
      if (row != nullptr && row[0] != nullptr) value = row[0];
      mysql_free_result(result);
    } while (mysql_next_result(connection.get()) == 0);
    EXPECT_EQ(mysql_errno(connection.get()), 0u) << mysql_error(connection.get());
    return value;
  }

  static inline std::unique_ptr<support::MariaDbServer> server;
};
