// SPDX-License-Identifier: Apache-2.0
#include "zeasqlite/conversation_store.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>

#include "open_file.h"

namespace zeasqlite {

namespace {

constexpr int kApplication = 0x5a454143;  // "ZEAC"
constexpr int kVersion = 1;
constexpr int kBusyMilliseconds = 5000;

constexpr char kSchema[] =
    "BEGIN IMMEDIATE;"
    "CREATE TABLE IF NOT EXISTS conversations(id INTEGER PRIMARY KEY AUTOINCREMENT, title TEXT NOT NULL,"
    " started INTEGER NOT NULL, changed INTEGER NOT NULL);"
    "CREATE TABLE IF NOT EXISTS turns(id INTEGER PRIMARY KEY, conversation INTEGER NOT NULL REFERENCES "
    "conversations(id)"
    " ON DELETE CASCADE, role INTEGER NOT NULL, text TEXT NOT NULL);"
    "CREATE INDEX IF NOT EXISTS turns_of_conversation ON turns(conversation, id);"
    "PRAGMA application_id = 1514488131; PRAGMA user_version = 1;"
    "COMMIT";
static_assert(kApplication == 1514488131 && kVersion == 1, "as the schema says");

constexpr char kList[] =
    "SELECT c.id, c.title, c.started, c.changed, (SELECT count(*) FROM turns t WHERE t.conversation = c.id AND"
    " t.role = 1) FROM conversations c";
static_assert(ZEARoleAssistant == 1, "as the statement says");

std::int64_t now() { return static_cast<std::int64_t>(std::time(nullptr)); }

}  // namespace

/// The connection, and statements on it.
struct ConversationStore::Database {
  std::unique_ptr<sqlite3, CloseConnection> connection;

  std::string error() const { return sqlite3_errmsg(connection.get()); }
  bool run(const char* script) const {
    return sqlite3_exec(connection.get(), script, nullptr, nullptr, nullptr) == SQLITE_OK;
  }
  /// Ends a transaction that was not committed.
  std::string rolledBack(std::string reason) const {
    static_cast<void>(run("ROLLBACK"));  // SQLite may have done that itself
    return reason;
  }
  /// What was overwritten goes from the log too. Fails while another process reads; the next change does it then.
  void clearLog() const { static_cast<void>(run("PRAGMA wal_checkpoint(TRUNCATE)")); }
};

namespace {

class Statement {
 public:
  Statement(sqlite3* connection, const char* sql) : connection_(connection) {
    isGood_ = sqlite3_prepare_v2(connection, sql, -1, &statement_, nullptr) == SQLITE_OK;
  }
  // Repeats the failure of the last step, which has been told.
  ~Statement() { static_cast<void>(sqlite3_finalize(statement_)); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  Statement& bind(std::int64_t value) {
    isGood_ = isGood_ && sqlite3_bind_int64(statement_, ++bound_, value) == SQLITE_OK;
    return *this;
  }
  /// The text must outlive the statement.
  Statement& bind(const std::string& text) {
    isGood_ = isGood_ && sqlite3_bind_text64(statement_, ++bound_, text.data(), text.size(), SQLITE_STATIC,
                                             SQLITE_UTF8) == SQLITE_OK;
    return *this;
  }
  /// Whether there is a row; the end and a failure look alike until `isGood`.
  bool step() {
    if (!isGood_) return false;
    const int code = sqlite3_step(statement_);
    isGood_ = code == SQLITE_ROW || code == SQLITE_DONE;
    return code == SQLITE_ROW;
  }
  /// To its end; in SQLite's words why that failed, or nothing.
  std::string run() {
    while (step()) {
    }
    return failure();
  }
  bool isGood() const { return isGood_; }
  std::string failure() const { return isGood_ ? std::string() : sqlite3_errmsg(connection_); }

  std::int64_t number(int column) const { return sqlite3_column_int64(statement_, column); }
  std::string text(int column) const {
    const void* const bytes = sqlite3_column_text(statement_, column);
    if (bytes == nullptr) return {};
    return {static_cast<const char*>(bytes), static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
  }

 private:
  sqlite3* connection_;
  sqlite3_stmt* statement_ = nullptr;
  int bound_ = 0;
  bool isGood_ = false;
};

std::int64_t settingOf(sqlite3* connection, const char* sql, std::string& failure) {
  Statement statement(connection, sql);
  const std::int64_t value = statement.step() ? statement.number(0) : 0;
  if (failure.empty()) failure = statement.failure();
  return value;
}

/// SQLite would make a file that everybody may read. A file that exists stays as it is.
std::string makeFile(const std::string& file) {
  const int descriptor = ::open(file.c_str(), O_CREAT | O_RDWR | O_CLOEXEC | O_NONBLOCK, 0600);
  if (descriptor < 0) return std::generic_category().message(errno);
  static_cast<void>(::close(descriptor));  // nothing has been written
  return {};
}

ConversationList conversationsOf(Statement& rows) {
  ConversationList list;
  while (rows.step()) {
    list.conversations.push_back(
        {rows.number(0), rows.text(1), rows.number(2), rows.number(3), static_cast<std::size_t>(rows.number(4))});
  }
  if (!rows.isGood()) list.error = "The conversations cannot be read: " + rows.failure() + ".";
  return list;
}

}  // namespace

ConversationStore::ConversationStore(std::unique_ptr<Database> database) : database_(std::move(database)) {}
ConversationStore::~ConversationStore() = default;

OpenedStore ConversationStore::open(const std::string& file) {
  OpenedStore opened;
  const auto refused = [&](const std::string& reason) {
    opened.error = file + " cannot be opened: " + reason + ".";
    return std::move(opened);
  };
  if (const std::string failure = makeFile(file); !failure.empty()) return refused(failure);
  if (!std::filesystem::is_regular_file(file)) return refused("it is no regular file");
  auto database = std::make_unique<Database>();
  sqlite3* connection = nullptr;
  const int code = sqlite3_open_v2(file.c_str(), &connection, SQLITE_OPEN_READWRITE, nullptr);
  database->connection.reset(connection);  // there is one to close after a failure too
  if (code != SQLITE_OK) return refused(database->error());
  sqlite3_busy_timeout(connection, kBusyMilliseconds);
  // What is in the file is looked at before anything of it changes.
  std::string failure;
  const std::int64_t application = settingOf(connection, "PRAGMA application_id", failure);
  const std::int64_t version = settingOf(connection, "PRAGMA user_version", failure);
  const std::int64_t tables = settingOf(connection, "SELECT count(*) FROM sqlite_schema", failure);
  if (!failure.empty()) return refused(failure);
  if (application != kApplication && (application != 0 || version != 0 || tables != 0)) {
    return refused("it is another program's database");
  }
  if (application == kApplication && version > kVersion)
    return refused("a newer version of the program has written it");
  if (sqlite3_db_readonly(connection, "main") == 1) return refused("it may not be written");
  // One flush to the disk for each change, and none is lost; readers and a writer go along.
  if (!database->run("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA secure_delete = ON;"
                     "PRAGMA foreign_keys = ON")) {
    return refused(database->error());
  }
  if (application != kApplication && !database->run(kSchema)) return refused(database->rolledBack(database->error()));
  opened.store.reset(new ConversationStore(std::move(database)));
  return opened;
}

NewConversation ConversationStore::create(const std::string& title) {
  Statement statement(database_->connection.get(),
                      "INSERT INTO conversations(title, started, changed) VALUES(?1, ?2, ?2)");
  statement.bind(title).bind(now());
  const std::string failure = statement.run();
  if (!failure.empty()) return {0, "The conversation cannot be stored: " + failure + "."};
  return {sqlite3_last_insert_rowid(database_->connection.get()), {}};
}

ConversationList ConversationStore::list() const {
  Statement rows(database_->connection.get(), (std::string(kList) + " ORDER BY c.changed DESC, c.id DESC").c_str());
  return conversationsOf(rows);
}

ConversationList ConversationStore::search(const std::string& text) const {
  Statement rows(database_->connection.get(),
                 (std::string(kList) +
                  " WHERE instr(lower(c.title), lower(?1)) > 0 OR EXISTS (SELECT 1 FROM turns t WHERE t.conversation ="
                  " c.id AND instr(lower(t.text), lower(?1)) > 0) ORDER BY c.changed DESC, c.id DESC")
                     .c_str());
  rows.bind(text);
  return conversationsOf(rows);
}

std::string ConversationStore::rename(std::int64_t conversation, const std::string& title) {
  Statement statement(database_->connection.get(), "UPDATE conversations SET title = ?1 WHERE id = ?2");
  statement.bind(title).bind(conversation);
  const std::string failure = statement.run();
  database_->clearLog();
  return failure.empty() ? failure : "The conversation cannot be renamed: " + failure + ".";
}

std::string ConversationStore::remove(std::int64_t conversation) {
  Statement statement(database_->connection.get(), "DELETE FROM conversations WHERE id = ?1");
  statement.bind(conversation);
  const std::string failure = statement.run();
  database_->clearLog();
  return failure.empty() ? failure : "The conversation cannot be deleted: " + failure + ".";
}

std::string ConversationStore::removeUnchangedSince(std::int64_t time) {
  Statement statement(database_->connection.get(), "DELETE FROM conversations WHERE changed < ?1");
  statement.bind(time);
  const std::string failure = statement.run();
  database_->clearLog();
  return failure.empty() ? failure : "The conversations cannot be deleted: " + failure + ".";
}

std::unique_ptr<ConversationMemory> ConversationStore::memory(std::int64_t conversation) {
  return std::unique_ptr<ConversationMemory>(new ConversationMemory(*this, conversation));
}

std::string ConversationStore::add(std::int64_t conversation, const std::vector<ZEAAssistantMemoryEntry>& turns) {
  sqlite3* const connection = database_->connection.get();
  if (!database_->run("BEGIN IMMEDIATE")) return database_->error();
  for (const ZEAAssistantMemoryEntry& turn : turns) {
    Statement statement(connection, "INSERT INTO turns(conversation, role, text) VALUES(?1, ?2, ?3)");
    statement.bind(conversation).bind(turn.role).bind(turn.text);
    const std::string failure = statement.run();
    if (!failure.empty()) {
      const bool isGone = sqlite3_extended_errcode(connection) == SQLITE_CONSTRAINT_FOREIGNKEY;
      return database_->rolledBack(isGone ? "it has been deleted" : failure);
    }
  }
  Statement statement(connection, "UPDATE conversations SET changed = ?1 WHERE id = ?2");
  statement.bind(now()).bind(conversation);
  const std::string failure = statement.run();
  if (!failure.empty()) return database_->rolledBack(failure);
  return database_->run("COMMIT") ? std::string() : database_->rolledBack(database_->error());
}

std::string ConversationStore::read(std::int64_t conversation, std::int32_t limit,
                                    std::vector<ZEAAssistantMemoryEntry>& turns) const {
  Statement rows(database_->connection.get(),
                 "SELECT role, text FROM turns WHERE conversation = ?1 ORDER BY id DESC LIMIT ?2");
  rows.bind(conversation).bind(limit > 0 ? limit : -1);
  while (rows.step()) turns.push_back({static_cast<std::int32_t>(rows.number(0)), rows.text(1)});
  std::reverse(turns.begin(), turns.end());
  return rows.failure();
}

bool ConversationMemory::store() {
  if (waiting_.empty() || waiting_.back().role != ZEARoleAssistant) return waiting_.empty();
  failure_ = store_.add(conversation_, waiting_);
  if (failure_.empty()) {
    waiting_.clear();
  } else {
    failure_ = "The conversation cannot be stored: " + failure_ + ".";
  }
  return failure_.empty();
}

void ConversationMemory::addEntry(std::int32_t role, const std::string& text) {
  waiting_.push_back({role, text});
  static_cast<void>(store());  // `failure` tells
}

std::vector<ZEAAssistantMemoryEntry> ConversationMemory::obtainEntries(std::int32_t limit) const {
  std::vector<ZEAAssistantMemoryEntry> turns;
  const std::string failure = store_.read(conversation_, limit, turns);
  if (!failure.empty()) failure_ = "The conversation cannot be read: " + failure + ".";
  turns.insert(turns.end(), waiting_.begin(), waiting_.end());
  if (limit <= 0) return turns;
  const std::size_t most = static_cast<std::size_t>(limit);
  auto first = turns.begin() + static_cast<std::ptrdiff_t>(turns.size() - std::min(turns.size(), most));
  while (first != turns.end() && first->role == ZEARoleAssistant) ++first;
  turns.erase(turns.begin(), first);
  return turns;
}

}  // namespace zeasqlite
