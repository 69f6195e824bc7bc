// SPDX-License-Identifier: Apache-2.0
#include "zeapostgresql/read_only_runner.h"

#include <poll.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <utility>

#include "open_connection.h"
#include "statement_check.h"

namespace zeapostgresql {

namespace {

using zeakit::ResultCell;
using zeakit::RunLimits;
using zeakit::StatementCheck;
using zeakit::StatementResult;
using zeakit::Verdict;
using Clock = std::chrono::steady_clock;

constexpr Oid kByteaType = 17;
// How long a server that was asked to end a statement may take.
constexpr auto kPatience = std::chrono::seconds(5);
constexpr auto kLookEvery = std::chrono::milliseconds(20);
constexpr auto kAskEvery = std::chrono::milliseconds(50);

/// Which of some functions do more than compute: all that the system doesn't have itself, and those of its own that are
/// volatile but for what tells the time, sizes or chance.
constexpr char kDangerous[] =
    "SELECT p.proname FROM pg_catalog.pg_proc p JOIN pg_catalog.pg_namespace n ON n.oid = p.pronamespace"
    " WHERE p.proname = ANY($1::text[]) AND (n.nspname <> 'pg_catalog' AND (p.provolatile = 'v' OR p.prosecdef OR"
    " p.prolang NOT IN (SELECT oid FROM pg_catalog.pg_language WHERE lanname IN ('internal', 'c'))) OR"
    " n.nspname = 'pg_catalog' AND (p.provolatile = 'v' AND p.proname NOT IN ('random', 'clock_timestamp', 'timeofday',"
    " 'gen_random_uuid', 'pg_relation_size', 'pg_total_relation_size', 'pg_table_size', 'pg_indexes_size',"
    " 'pg_database_size', 'pg_size_pretty', 'pg_backend_pid') OR p.proname LIKE '%\\_to\\_xml%' OR p.proname IN "
    "('txid_current', 'pg_current_xact_id')))"
    " LIMIT 1";

constexpr char kPowerful[] =
    "SELECT pg_catalog.current_setting('is_superuser') = 'on' OR EXISTS (SELECT 1 FROM pg_catalog.pg_roles r WHERE"
    " r.rolname IN ('pg_write_server_files', 'pg_read_server_files', 'pg_execute_server_program') AND"
    " pg_catalog.pg_has_role(session_user, r.oid, 'MEMBER'))";

std::string arrayOf(const std::vector<std::string>& names) {
  std::string text = "{";
  for (const std::string& name : names) {
    text += text.size() > 1 ? ",\"" : "\"";
    for (const char byte : name) {
      if (byte == '"' || byte == '\\') text += '\\';
      text += byte;
    }
    text += '"';
  }
  return text + "}";
}

class Runner final : public zeakit::IReadOnlyRunner {
 public:
  Runner(std::string address, const RunnerOptions& options) : address_(std::move(address)), options_(options) {}

  /// A sentence about why there is no connection, or nothing.
  std::string connect() {
    if (connection_ != nullptr && PQstatus(connection_.get()) == CONNECTION_OK) return {};
    typeNames_.clear();
    OpenedConnection opened = openConnection(address_);
    if (!opened.error.empty()) return opened.error;
    if (!options_.allowsPowerfulRole) {
      const Result result(PQexec(opened.connection.get(), kPowerful));
      if (PQresultStatus(result.get()) != PGRES_TUPLES_OK) {
        return sentenceOf("The database cannot be opened", opened.connection.get());
      }
      if (*PQgetvalue(result.get(), 0, 0) == 't') {
        return "The role may write files or run programs on the server; statements are run for one that may not.";
      }
    }
    connection_ = std::move(opened.connection);
    return {};
  }

  StatementCheck check(const std::string& sql) override {
    CheckedStatement statement = checkStatement(sql);
    if (statement.check.verdict != Verdict::Reads) return statement.check;
    return checkFunctions(statement);
  }

  StatementResult explain(const std::string& sql) override {
    const CheckedStatement statement = checkStatement(sql);
    if (statement.check.verdict == Verdict::Reads && statement.isExplained) return {};
    return run("EXPLAIN " + sql, RunLimits());
  }

  StatementResult run(const std::string& sql, const RunLimits& limits) override {
    isCancelled_ = false;
    nextAsk_ = Clock::time_point();
    const StatementCheck checked = check(sql);
    if (checked.verdict != Verdict::Reads) return StatementResult::failed(checked.reason);
    const std::string failure = connect();
    if (!failure.empty()) return StatementResult::failed(failure);
    const std::string milliseconds = std::to_string(std::max<std::int64_t>(limits.time.count(), 1));
    const std::string begin = "BEGIN TRANSACTION READ ONLY; SET LOCAL statement_timeout = " + milliseconds +
                              "; SET LOCAL lock_timeout = " + milliseconds + "; SET LOCAL client_encoding = 'UTF8'";
    StatementResult result;
    if (!runCommand(connection_.get(), begin.c_str())) {
      result.error = sentenceOf("The statement cannot be run", connection_.get());
      connection_.reset();
      return result;
    }
    // The extended protocol refuses a second statement.
    if (PQsendQueryParams(connection_.get(), sql.c_str(), 0, nullptr, nullptr, nullptr, nullptr, 0) != 1 ||
        PQsetSingleRowMode(connection_.get()) != 1) {
      result.error = sentenceOf("The statement cannot be run", connection_.get());
    } else {
      receive(limits, result);
    }
    endTransaction();
    nameTypes(result);
    return result;
  }

  void cancel() noexcept override { isCancelled_ = true; }

 private:
  StatementCheck checkFunctions(const CheckedStatement& statement) {
    if (statement.functions.empty()) return statement.check;
    const std::string failure = connect();
    if (!failure.empty()) return {Verdict::Refused, failure};
    const std::string names = arrayOf(statement.functions);
    const char* const value = names.c_str();
    const Result result(PQexecParams(connection_.get(), kDangerous, 1, nullptr, &value, nullptr, nullptr, 0));
    if (PQresultStatus(result.get()) != PGRES_TUPLES_OK) {
      return {Verdict::Refused, sentenceOf("The statement cannot be checked", connection_.get())};
    }
    if (PQntuples(result.get()) == 0) return statement.check;
    return {Verdict::Refused,
            std::string("It calls ").append(PQgetvalue(result.get(), 0, 0)).append(", which may do more than read.")};
  }

  /// Takes rows as they arrive. Once the limits are reached the statement is ended, and what still comes is dropped.
  void receive(const RunLimits& limits, StatementResult& result) {
    const auto deadline = Clock::now() + limits.time + kPatience;
    std::size_t bytes = 0;
    for (;;) {
      const bool hasAnswer = waitForAnswer(deadline, result);
      if (!hasAnswer) {
        connection_.reset();  // with what is on its way
        return;
      }
      const Result part(PQgetResult(connection_.get()));
      if (part == nullptr) return;
      const ExecStatusType status = PQresultStatus(part.get());
      if (result.columns.empty()) describe(part.get(), result);
      if (status == PGRES_FATAL_ERROR && !result.isCut && result.error.empty()) {
        result.error = isCancelled_ ? "The statement was cancelled." : sentenceOf("The statement failed", part.get());
      }
      if (status != PGRES_SINGLE_TUPLE || result.isCut) continue;
      std::vector<ResultCell> row = rowOf(part.get());
      for (const ResultCell& cell : row) bytes += cell.value.size();
      result.isCut = result.rows.size() >= limits.rows || bytes > limits.bytes;
      if (!result.isCut) result.rows.push_back(std::move(row));
    }
  }

  static std::string sentenceOf(const std::string& what, PGconn* connection) {
    return zeapostgresql::sentenceOf(what, connection);
  }
  static std::string sentenceOf(const std::string& what, PGresult* part) {
    const char* const code = PQresultErrorField(part, PG_DIAG_SQLSTATE);
    if (code != nullptr && std::string(code) == "57014") return "The statement took longer than it may.";
    const char* const message = PQresultErrorField(part, PG_DIAG_MESSAGE_PRIMARY);
    return what + ": " + (message != nullptr ? message : "the connection was lost") + ".";
  }

  /// False when the connection has to be given up.
  bool waitForAnswer(Clock::time_point deadline, StatementResult& result) {
    while (PQisBusy(connection_.get()) != 0) {
      // Again and again: a server that has not begun with the statement doesn't hear it.
      if ((isCancelled_ || result.isCut) && Clock::now() >= nextAsk_) askToEnd();
      if (Clock::now() >= deadline) {
        if (result.error.empty()) result.error = "The statement took longer than it may.";
        return false;
      }
      pollfd waiting{PQsocket(connection_.get()), POLLIN, 0};
      if (::poll(&waiting, 1, static_cast<int>(kLookEvery.count())) <= 0) continue;
      if (PQconsumeInput(connection_.get()) != 1) {
        result.error = sentenceOf("The connection to the database was lost", connection_.get());
        return false;
      }
    }
    return true;
  }

  void askToEnd() {
    nextAsk_ = Clock::now() + kAskEvery;
    const std::unique_ptr<PGcancel, FreePq> cancel(PQgetCancel(connection_.get()));
    char reason[256];
    // When it can't be asked, its own time limit ends it.
    static_cast<void>(cancel != nullptr && PQcancel(cancel.get(), reason, sizeof(reason)) == 1);
  }

  /// Nothing of the statement stays in the session, not even locks that a view took for it.
  void endTransaction() {
    if (connection_ == nullptr) return;
    const Result result(PQexec(connection_.get(), "ROLLBACK; SELECT pg_catalog.pg_advisory_unlock_all()"));
    if (PQresultStatus(result.get()) != PGRES_TUPLES_OK) connection_.reset();
  }

  void describe(PGresult* part, StatementResult& result) {
    types_.clear();
    for (int column = 0; column < PQnfields(part); ++column) {
      result.columns.push_back({PQfname(part, column), {}});
      types_.emplace_back(PQftype(part, column), PQfmod(part, column));
    }
  }

  static std::vector<ResultCell> rowOf(PGresult* part) {
    std::vector<ResultCell> row(static_cast<std::size_t>(PQnfields(part)));
    for (std::size_t at = 0; at < row.size(); ++at) {
      const int column = static_cast<int>(at);
      ResultCell& cell = row[at];
      cell.isNull = PQgetisnull(part, 0, column) != 0;
      const auto* const text = reinterpret_cast<const unsigned char*>(PQgetvalue(part, 0, column));
      const auto length = static_cast<std::size_t>(PQgetlength(part, 0, column));
      cell.isBinary = PQftype(part, column) == kByteaType && !cell.isNull;
      if (!cell.isBinary) {
        cell.value.assign(reinterpret_cast<const char*>(text), length);
        continue;
      }
      std::size_t size = 0;
      unsigned char* const bytes = PQunescapeBytea(text, &size);
      if (bytes != nullptr) cell.value.assign(reinterpret_cast<const char*>(bytes), size);
      PQfreemem(bytes);
    }
    return row;
  }

  /// Types are told by number; their names are asked for once each.
  void nameTypes(StatementResult& result) {
    for (std::size_t at = 0; at < result.columns.size(); ++at) {
      const auto found = typeNames_.find(types_[at]);
      if (found != typeNames_.end()) {
        result.columns[at].type = found->second;
        continue;
      }
      if (connection_ == nullptr) return;
      const std::string sql = "SELECT pg_catalog.format_type(" + std::to_string(types_[at].first) + ", " +
                              std::to_string(types_[at].second) + ")";
      const Result name(PQexec(connection_.get(), sql.c_str()));
      if (PQresultStatus(name.get()) != PGRES_TUPLES_OK) return;
      result.columns[at].type = typeNames_[types_[at]] = PQgetvalue(name.get(), 0, 0);
    }
  }

  const std::string address_;
  const RunnerOptions options_;
  Connection connection_;
  std::atomic<bool> isCancelled_ = false;
  Clock::time_point nextAsk_;               // for the end of the statement
  std::vector<std::pair<Oid, int>> types_;  // of the result's columns
  std::map<std::pair<Oid, int>, std::string> typeNames_;
};

}  // namespace

zeakit::OpenedRunner openReadOnlyRunner(const std::string& address, const RunnerOptions& options) {
  auto runner = std::make_unique<Runner>(address, options);
  zeakit::OpenedRunner opened;
  opened.error = runner->connect();
  if (opened.error.empty()) opened.runner = std::move(runner);
  return opened;
}

}  // namespace zeapostgresql
