// SPDX-License-Identifier: Apache-2.0
#include "zeasqlite/read_only_runner.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <string_view>
#include <thread>

#include "open_file.h"

namespace zeasqlite {

namespace {

using zeakit::ResultCell;
using zeakit::RunLimits;
using zeakit::StatementCheck;
using zeakit::StatementResult;
using zeakit::Verdict;
using Clock = std::chrono::steady_clock;

constexpr int kLongestValue = 1024 * 1024;
constexpr sqlite3_int64 kMostMemory = sqlite3_int64{256} * 1024 * 1024;
// A thousand steps take about ten microseconds.
constexpr int kStepsBetweenLooks = 1000;

struct Finalize {
  // Repeats the failure of the last step, which has been told.
  void operator()(sqlite3_stmt* statement) const { static_cast<void>(sqlite3_finalize(statement)); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

/// Why an action isn't allowed; null for one that is.
const char* refusalOf(int action, const char* name) {
  const std::string_view text(name != nullptr ? name : "");
  // What reads or loads files where somebody has added it to SQLite.
  static constexpr std::array<const char*, 6> kFunctions = {"load_extension", "readfile", "writefile",
                                                            "edit",           "fsdir",    "fts3_tokenizer"};
  switch (action) {
    case SQLITE_SELECT:
    case SQLITE_READ:
    case SQLITE_RECURSIVE:
      return nullptr;
    case SQLITE_FUNCTION: {
      const bool isDenied = std::any_of(kFunctions.begin(), kFunctions.end(),
                                        [name](const char* denied) { return sqlite3_stricmp(name, denied) == 0; });
      return isDenied ? "It calls a function that reads or loads files." : nullptr;
    }
    case SQLITE_UPDATE:
      // So a virtual table tells its columns when it is first used. A statement that does it returns no rows.
      return text == "sqlite_master" ? nullptr : "It changes rows.";
    case SQLITE_INSERT:
    case SQLITE_DELETE:
      return "It changes rows.";
    case SQLITE_TRANSACTION:
    case SQLITE_SAVEPOINT:
      return "It begins or ends a transaction.";
    case SQLITE_ATTACH:
    case SQLITE_DETACH:
      return "It opens or closes another file.";
    case SQLITE_PRAGMA:
      if (text == "data_version") return nullptr;  // full-text search looks for changes by others
      return "It reads or changes a setting.";
    default:
      return "It changes the schema or the file.";
  }
}

class Runner final : public zeakit::IReadOnlyRunner {
 public:
  explicit Runner(std::string file) : file_(std::move(file)) {}

  /// A sentence about why there is no connection, or nothing.
  std::string connect() {
    struct stat status {};
    const bool isThere = ::stat(file_.c_str(), &status) == 0;
    if (connection() != nullptr && isThere && !isSnapshot_ && isAsOpened(status)) return {};
    const OpenPlan plan = planToOpen(file_);
    if (!plan.error.empty()) return plan.error;
    OpenedFile opened = openReadOnly(file_, plan);
    if (opened.error.empty()) configure(opened.connection.get());
    const std::lock_guard<std::mutex> lock(mutex_);
    opened_ = std::move(opened);
    status_ = status;
    isSnapshot_ = plan.isSnapshot;
    return opened_.error;
  }

  StatementCheck check(const std::string& sql) override {
    const std::string failure = connect();
    if (!failure.empty()) return {Verdict::Refused, failure};
    Statement statement;
    return prepare(sql, statement);
  }

  StatementResult explain(const std::string& sql) override {
    const std::string failure = connect();
    if (!failure.empty()) return StatementResult::failed(failure);
    Statement statement;
    const StatementCheck checked = prepare(sql, statement);
    if (checked.verdict != Verdict::Reads) return StatementResult::failed(checked.reason);
    if (sqlite3_stmt_isexplain(statement.get()) != 0) return {};
    statement.reset();
    return run("EXPLAIN QUERY PLAN " + sql, RunLimits());
  }

  StatementResult run(const std::string& sql, const RunLimits& limits) override {
    const std::string failure = connect();
    if (!failure.empty()) return StatementResult::failed(failure);
    isCancelled_ = false;
    deadline_ = Clock::now() + limits.time;
    memoryBefore_ = sqlite3_memory_used();
    ending_ = nullptr;
    Statement statement;
    const StatementCheck checked = prepare(sql, statement);
    if (checked.verdict != Verdict::Reads) return StatementResult::failed(checked.reason);
    return readRows(statement.get(), limits);
  }

  void cancel() noexcept override {
    isCancelled_ = true;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (connection() != nullptr) sqlite3_interrupt(connection());
  }

 private:
  /// Whether the file is the same one, and nobody has changed how it is to be opened.
  bool isAsOpened(const struct stat& status) const {
    return status.st_dev == status_.st_dev && status.st_ino == status_.st_ino && status.st_size == status_.st_size &&
           status.st_mtim.tv_sec == status_.st_mtim.tv_sec && status.st_mtim.tv_nsec == status_.st_mtim.tv_nsec;
  }

  sqlite3* connection() const { return opened_.connection.get(); }

  void configure(sqlite3* connection) {
    sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
    sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, kLongestValue);
    sqlite3_limit(connection, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 1000);
    sqlite3_limit(connection, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_limit(connection, SQLITE_LIMIT_WORKER_THREADS, 0);
    // Nothing in temporary files. A failure leaves the authorizer, which is set next.
    static_cast<void>(sqlite3_exec(connection, "PRAGMA temp_store = MEMORY", nullptr, nullptr, nullptr));
    sqlite3_set_authorizer(
        connection,
        [](void* self, int action, const char* first, const char* second, const char*, const char*) {
          // A function's name is the second text.
          const char* const refusal = zeasqlite::refusalOf(action, action == SQLITE_FUNCTION ? second : first);
          if (refusal == nullptr) return SQLITE_OK;
          static_cast<Runner*>(self)->refusal_ = refusal;
          return SQLITE_DENY;
        },
        this);
    sqlite3_progress_handler(
        connection, kStepsBetweenLooks, [](void* self) { return static_cast<Runner*>(self)->hasToEnd() ? 1 : 0; },
        this);
    sqlite3_busy_handler(
        connection,
        [](void* self, int) {
          if (static_cast<Runner*>(self)->hasToEnd()) return 0;
          std::this_thread::sleep_for(std::chrono::milliseconds(5));
          return 1;
        },
        this);
  }

  bool hasToEnd() {
    if (isCancelled_) {
      ending_ = "The statement was cancelled.";
    } else if (Clock::now() >= deadline_) {
      ending_ = "The statement took longer than it may.";
    } else if (sqlite3_memory_used() - memoryBefore_ > kMostMemory) {
      ending_ = "The statement needs more memory than it may.";
    }
    return ending_ != nullptr;
  }

  StatementCheck prepare(const std::string& sql, Statement& statement) {
    if (sql.find('\0') != sql.npos) return {Verdict::Refused, "There is a NUL in the statement."};
    refusal_ = nullptr;
    const char* tail = nullptr;
    sqlite3_stmt* prepared = nullptr;
    const int code = sqlite3_prepare_v2(connection(), sql.c_str(), static_cast<int>(sql.size()) + 1, &prepared, &tail);
    statement.reset(prepared);
    if (refusal_ != nullptr) return {Verdict::Refused, refusal_};
    if (code == SQLITE_INTERRUPT) return {Verdict::Refused, "The statement was cancelled."};
    if (code == SQLITE_NOTADB) return {Verdict::Refused, file_ + " is not an SQLite database."};
    if (code != SQLITE_OK) return {Verdict::Refused, sqlite3_errmsg(connection())};
    if (prepared == nullptr) return {Verdict::Refused, "There is no statement."};
    if (sqlite3_column_count(prepared) == 0 || sqlite3_stmt_readonly(prepared) == 0) {
      return {Verdict::Refused, "It is no statement that reads rows."};
    }
    return hasMore(tail) ? StatementCheck{Verdict::SeveralStatements, "There are several statements."}
                         : StatementCheck{Verdict::Reads, {}};
  }

  /// Whether there is anything but comments and semicolons.
  bool hasMore(const char* tail) {
    while (*tail != '\0') {
      sqlite3_stmt* prepared = nullptr;
      const char* const begin = tail;
      const int code = sqlite3_prepare_v2(connection(), begin, -1, &prepared, &tail);
      const Statement statement(prepared);
      if (code != SQLITE_OK || prepared != nullptr) return true;
      if (tail == begin) return true;
    }
    return false;
  }

  StatementResult readRows(sqlite3_stmt* statement, const RunLimits& limits) {
    StatementResult result;
    const int count = sqlite3_column_count(statement);
    for (int column = 0; column < count; ++column) {
      const char* const name = sqlite3_column_name(statement, column);
      const char* const type = sqlite3_column_decltype(statement, column);
      result.columns.push_back({name != nullptr ? name : "", type != nullptr ? type : ""});
    }
    std::size_t bytes = 0;
    int code = sqlite3_step(statement);
    for (; code == SQLITE_ROW; code = sqlite3_step(statement)) {
      std::vector<ResultCell> row;
      row.reserve(result.columns.size());
      for (int column = 0; column < count; ++column) row.push_back(cellOf(statement, column));
      for (const ResultCell& cell : row) bytes += cell.value.size();
      if (result.rows.size() >= limits.rows || bytes > limits.bytes) {
        result.isCut = true;
        return result;
      }
      result.rows.push_back(std::move(row));
    }
    if (code == SQLITE_TOOBIG) {
      result.error = "A value or a row is larger than 1 MiB.";
    } else if (code != SQLITE_DONE) {
      if (isCancelled_) ending_ = "The statement was cancelled.";
      result.error = ending_ != nullptr ? ending_ : refusal_ != nullptr ? refusal_ : sqlite3_errmsg(connection());
    }
    return result;
  }

  static ResultCell cellOf(sqlite3_stmt* statement, int column) {
    ResultCell cell;
    const int type = sqlite3_column_type(statement, column);
    cell.isNull = type == SQLITE_NULL;
    cell.isBinary = type == SQLITE_BLOB;
    const void* const bytes =
        cell.isBinary ? sqlite3_column_blob(statement, column) : sqlite3_column_text(statement, column);
    if (bytes != nullptr) {
      cell.value.assign(static_cast<const char*>(bytes),
                        static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    }
    return cell;
  }

  const std::string file_;
  std::mutex mutex_;  // `opened_` is only changed, and only used by other threads, while it is held
  OpenedFile opened_;
  struct stat status_ {};  // of the file ahead of its opening
  bool isSnapshot_ = false;
  const char* refusal_ = nullptr;  // of the statement that is prepared
  std::atomic<bool> isCancelled_ = false;
  Clock::time_point deadline_ = Clock::time_point::max();
  sqlite3_int64 memoryBefore_ = 0;
  const char* ending_ = nullptr;
};

}  // namespace

zeakit::OpenedRunner openReadOnlyRunner(const std::string& file) {
  auto runner = std::make_unique<Runner>(file);
  zeakit::OpenedRunner opened;
  opened.error = runner->connect();
  if (opened.error.empty()) opened.error = runner->run("SELECT 1 FROM sqlite_schema LIMIT 0", RunLimits()).error;
  if (opened.error.empty()) opened.runner = std::move(runner);
  return opened;
}

}  // namespace zeasqlite
