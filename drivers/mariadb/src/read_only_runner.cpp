// SPDX-License-Identifier: Apache-2.0
#include "zeamariadb/read_only_runner.h"

#include <mysql.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "open_connection.h"
#include "statement_check.h"

namespace zeamariadb {

namespace {

using zeakit::ResultCell;
using zeakit::RunLimits;
using zeakit::StatementCheck;
using zeakit::StatementResult;
using zeakit::Verdict;

constexpr unsigned long kLargestPacket = 64UL * 1024 * 1024;
constexpr unsigned kBinaryCharacterSet = 63;
constexpr auto kAskEvery = std::chrono::milliseconds(50);

struct RestoreSignals {
  void operator()(sigset_t* signals) const { pthread_sigmask(SIG_SETMASK, signals, nullptr); }
};

struct CloseStatement {
  void operator()(MYSQL_STMT* statement) const { mysql_stmt_close(statement); }
};
using Statement = std::unique_ptr<MYSQL_STMT, CloseStatement>;
struct FreeResult {
  void operator()(MYSQL_RES* result) const { mysql_free_result(result); }
};
using Result = std::unique_ptr<MYSQL_RES, FreeResult>;

const char* nameOf(const MYSQL_FIELD& field) {
  const bool isBinary = field.charsetnr == kBinaryCharacterSet;
  switch (field.type) {
    case MYSQL_TYPE_TINY:
      return "tinyint";
    case MYSQL_TYPE_SHORT:
      return "smallint";
    case MYSQL_TYPE_INT24:
      return "mediumint";
    case MYSQL_TYPE_LONG:
      return "int";
    case MYSQL_TYPE_LONGLONG:
      return "bigint";
    case MYSQL_TYPE_FLOAT:
      return "float";
    case MYSQL_TYPE_DOUBLE:
      return "double";
    case MYSQL_TYPE_DECIMAL:
    case MYSQL_TYPE_NEWDECIMAL:
      return "decimal";
    case MYSQL_TYPE_DATE:
    case MYSQL_TYPE_NEWDATE:
      return "date";
    case MYSQL_TYPE_TIME:
      return "time";
    case MYSQL_TYPE_DATETIME:
      return "datetime";
    case MYSQL_TYPE_TIMESTAMP:
      return "timestamp";
    case MYSQL_TYPE_YEAR:
      return "year";
    case MYSQL_TYPE_BIT:
      return "bit";
    case MYSQL_TYPE_JSON:
      return "json";
    case MYSQL_TYPE_GEOMETRY:
      return "geometry";
    case MYSQL_TYPE_NULL:
      return "";
    case MYSQL_TYPE_TINY_BLOB:
    case MYSQL_TYPE_MEDIUM_BLOB:
    case MYSQL_TYPE_LONG_BLOB:
    case MYSQL_TYPE_BLOB:
      return isBinary ? "blob" : "text";
    case MYSQL_TYPE_STRING:
      return isBinary ? "binary" : "char";
    default:
      return isBinary ? "varbinary" : "varchar";
  }
}

bool isBinary(const MYSQL_FIELD& field) {
  switch (field.type) {
    case MYSQL_TYPE_BIT:
    case MYSQL_TYPE_GEOMETRY:
      return true;
    case MYSQL_TYPE_TINY_BLOB:
    case MYSQL_TYPE_MEDIUM_BLOB:
    case MYSQL_TYPE_LONG_BLOB:
    case MYSQL_TYPE_BLOB:
    case MYSQL_TYPE_STRING:
    case MYSQL_TYPE_VAR_STRING:
    case MYSQL_TYPE_VARCHAR:
      return field.charsetnr == kBinaryCharacterSet;
    default:
      return false;
  }
}

class Runner final : public zeakit::IReadOnlyRunner {
 public:
  explicit Runner(Address address) : address_(std::move(address)) {}

  /// A sentence about why there is no connection, or nothing.
  std::string connect() {
    if (connection_ != nullptr && mysql_ping(connection_.get()) == 0) return {};
    OpenedConnection opened = openConnection(address_, kLargestPacket);
    if (!opened.error.empty()) return opened.error;
    MYSQL* const connection = opened.connection.get();
    isMariaDb_ = std::string(mysql_get_server_info(connection)).find("MariaDB") != std::string::npos;
    // As the check reads statements.
    if (!runCommand(connection, "SET NAMES utf8mb4") ||
        !runCommand(connection, "SET SESSION sql_mode = REPLACE(@@sql_mode, 'NO_BACKSLASH_ESCAPES', '')")) {
      return sentenceOf("The database cannot be opened", connection);
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    connection_ = std::move(opened.connection);
    session_ = mysql_thread_id(connection);
    return {};
  }

  StatementCheck check(const std::string& sql) override {
    const CheckedStatement statement = checkStatement(sql);
    if (statement.check.verdict != Verdict::Reads || statement.functions.empty()) return statement.check;
    const std::string failure = connect();
    if (!failure.empty()) return {Verdict::Refused, failure};
    return checkStoredFunctions(statement);
  }

  StatementResult explain(const std::string& sql) override {
    const CheckedStatement statement = checkStatement(sql);
    if (statement.check.verdict == Verdict::Reads && statement.isExplained) return {};
    return run("EXPLAIN " + sql, RunLimits());
  }

  StatementResult run(const std::string& sql, const RunLimits& limits) override {
    isCancelled_ = false;
    const StatementCheck checked = check(sql);
    if (checked.verdict != Verdict::Reads) return StatementResult::failed(checked.reason);
    const std::string failure = connect();
    if (!failure.empty()) return StatementResult::failed(failure);
    StatementResult result;
    if (!setLimits(limits) || !runCommand(connection_.get(), "START TRANSACTION READ ONLY")) {
      result.error = sentenceOf("The statement cannot be run", connection_.get());
      giveUpConnection();
      return result;
    }
    execute(sql, limits, result);
    if (connection_ != nullptr && !runCommand(connection_.get(), "ROLLBACK")) giveUpConnection();
    return result;
  }

  void cancel() noexcept override {
    isCancelled_ = true;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!isRunning_ || ending_.joinable()) return;
    try {
      ending_ = startThread();
    } catch (const std::system_error&) {
      // Without a thread to ask for its end the statement's time limit ends it.
    }
  }

 private:
  /// Signals of the process are left to the host's threads.
  std::thread startThread() {
    sigset_t all;
    sigset_t former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    const auto restored = std::unique_ptr<sigset_t, RestoreSignals>(&former);
    return std::thread([this] { askToEnd(); });
  }

  /// Only another session can end a statement, and it may take its time to come up. Where it can't be had, the time
  /// limit ends the statement.
  void askToEnd() {
    const OpenedConnection other = openConnection(address_);
    std::unique_lock<std::mutex> lock(mutex_);
    const std::string sql = "KILL QUERY " + std::to_string(session_);
    // Again and again: a server that has not begun with the statement doesn't hear it.
    while (other.error.empty() && isRunning_) {
      static_cast<void>(runCommand(other.connection.get(), sql));
      ended_.wait_for(lock, kAskEvery, [this] { return !isRunning_; });
    }
  }

  /// What a database has stored may do anything.
  StatementCheck checkStoredFunctions(const CheckedStatement& statement) {
    std::string names;
    for (const std::string& name : statement.functions) {
      std::string escaped(name.size() * 2 + 1, '\0');
      escaped.resize(mysql_real_escape_string(connection_.get(), escaped.data(), name.data(),
                                              static_cast<unsigned long>(name.size())));
      names += (names.empty() ? "'" : ", '") + escaped + "'";
    }
    if (!runCommand(connection_.get(),
                    "SELECT ROUTINE_NAME FROM information_schema.ROUTINES WHERE LOWER(ROUTINE_NAME) IN (" + names +
                        ") LIMIT 1")) {
      return {Verdict::Refused, sentenceOf("The statement cannot be checked", connection_.get())};
    }
    const Result result(mysql_store_result(connection_.get()));
    const MYSQL_ROW row = result != nullptr ? mysql_fetch_row(result.get()) : nullptr;
    if (row == nullptr) return statement.check;
    return {Verdict::Refused, std::string("It calls ").append(row[0]).append(", which may do more than read.")};
  }

  bool setLimits(const RunLimits& limits) {
    const auto milliseconds = std::max<std::int64_t>(limits.time.count(), 1);
    const std::string time = isMariaDb_ ? "max_statement_time = " + std::to_string(milliseconds / 1000) + "." +
                                              std::to_string(1000 + milliseconds % 1000).substr(1)
                                        : "max_execution_time = " + std::to_string(milliseconds);
    // One more tells that there are more.
    return runCommand(connection_.get(), "SET SESSION " + time + ", sql_select_limit = " +
                                             std::to_string(std::min<std::size_t>(limits.rows, 1000000000) + 1));
  }

  void execute(const std::string& sql, const RunLimits& limits, StatementResult& result) {
    Statement statement(mysql_stmt_init(connection_.get()));
    if (statement == nullptr) {
      result.error = "There is no memory for the statement.";
      return;
    }
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      isRunning_ = true;
    }
    const bool isDone = mysql_stmt_prepare(statement.get(), sql.data(), static_cast<unsigned long>(sql.size())) == 0 &&
                        mysql_stmt_execute(statement.get()) == 0 && readRows(statement.get(), limits, result);
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      isRunning_ = false;
    }
    ended_.notify_all();
    if (ending_.joinable()) ending_.join();  // starts only while the statement runs
    if (!isDone) result.error = reasonOf(statement.get());
    // What is on its way would have to be read to its end.
    if (result.isCut) giveUpConnection();
  }

  std::string reasonOf(MYSQL_STMT* statement) const {
    constexpr unsigned kTimedOut[] = {1969, 3024};  // MariaDB, MySQL
    // A failure amid the rows is told of the connection alone.
    const bool isOfStatement = mysql_stmt_errno(statement) != 0;
    const unsigned code = isOfStatement ? mysql_stmt_errno(statement) : mysql_errno(connection_.get());
    const char* const reason = isOfStatement ? mysql_stmt_error(statement) : mysql_error(connection_.get());
    if (isCancelled_) return "The statement was cancelled.";
    if (std::find(std::begin(kTimedOut), std::end(kTimedOut), code) != std::end(kTimedOut)) {
      return "The statement took longer than it may.";
    }
    return std::string("The statement failed: ").append(reason).append(".");
  }

  static bool readRows(MYSQL_STMT* statement, const RunLimits& limits, StatementResult& result) {
    const Result described(mysql_stmt_result_metadata(statement));
    if (described == nullptr) return mysql_stmt_errno(statement) == 0;
    const unsigned count = mysql_num_fields(described.get());
    const MYSQL_FIELD* const fields = mysql_fetch_fields(described.get());
    // Lengths first, values by themselves: no guess at how long they get.
    std::vector<unsigned long> lengths(count);
    std::vector<my_bool> nulls(count);
    std::vector<MYSQL_BIND> binds(count);
    for (unsigned column = 0; column < count; ++column) {
      result.columns.push_back({fields[column].name, nameOf(fields[column])});
      binds[column] = MYSQL_BIND();
      binds[column].buffer_type = MYSQL_TYPE_STRING;
      binds[column].length = &lengths[column];
      binds[column].is_null = &nulls[column];
    }
    if (mysql_stmt_bind_result(statement, binds.data()) != 0) return false;
    std::size_t bytes = 0;
    int code = mysql_stmt_fetch(statement);
    for (; code == 0 || code == MYSQL_DATA_TRUNCATED; code = mysql_stmt_fetch(statement)) {
      for (unsigned column = 0; column < count; ++column) bytes += nulls[column] != 0 ? 0 : lengths[column];
      result.isCut = result.rows.size() >= limits.rows || bytes > limits.bytes;
      if (result.isCut) return true;
      std::vector<ResultCell> row(count);
      for (unsigned column = 0; column < count; ++column) {
        ResultCell& cell = row[column];
        cell.isNull = nulls[column] != 0;
        cell.isBinary = !cell.isNull && isBinary(fields[column]);
        if (cell.isNull || lengths[column] == 0) continue;
        cell.value.resize(lengths[column] + 1);  // numbers are written with a NUL after them
        MYSQL_BIND bind = binds[column];
        bind.buffer = cell.value.data();
        bind.buffer_length = lengths[column] + 1;
        if (mysql_stmt_fetch_column(statement, &bind, column, 0) != 0) return false;
        cell.value.resize(lengths[column]);
      }
      result.rows.push_back(std::move(row));
    }
    return code == MYSQL_NO_DATA;
  }

  void giveUpConnection() {
    const std::lock_guard<std::mutex> lock(mutex_);
    connection_.reset();
  }

  const Address address_;
  Connection connection_;
  bool isMariaDb_ = true;
  std::atomic<bool> isCancelled_ = false;
  std::mutex mutex_;  // what `cancel` looks at
  bool isRunning_ = false;
  std::condition_variable ended_;
  std::thread ending_;
  unsigned long session_ = 0;
};

}  // namespace

zeakit::OpenedRunner openReadOnlyRunner(const Address& address) {
  auto runner = std::make_unique<Runner>(address);
  zeakit::OpenedRunner opened;
  opened.error = runner->connect();
  if (opened.error.empty()) opened.runner = std::move(runner);
  return opened;
}

}  // namespace zeamariadb
