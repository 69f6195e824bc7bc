// SPDX-License-Identifier: Apache-2.0
// Conversations in a file.
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "zeasqlite/conversation_store.h"

namespace fs = std::filesystem;
using zeasqlite::ConversationStore;

namespace {

std::atomic<int> flushes = 0;

}  // namespace

// SQLite finds these in place of the system's.
extern "C" __attribute__((visibility("default"))) int fsync(int descriptor) {
  ++flushes;
  return static_cast<int>(syscall(SYS_fsync, descriptor));
}
extern "C" __attribute__((visibility("default"))) int fdatasync(int descriptor) { return fsync(descriptor); }

namespace {

class ConversationStoreTest : public testing::Test {
 protected:
  ConversationStoreTest() {
    std::string pattern = (fs::temp_directory_path() / "storeXXXXXX").string();
    folder = mkdtemp(pattern.data());
    file = folder / "conversations.db";
  }
  ~ConversationStoreTest() override { fs::remove_all(folder); }

  std::unique_ptr<ConversationStore> open() const {
    auto opened = ConversationStore::open(file);
    EXPECT_EQ(opened.error, "");
    return std::move(opened.store);
  }
  static void add(IZEAAssistantMemory& memory, const std::string& question, const std::string& answer) {
    memory.addEntry(ZEARoleUser, question);
    memory.addEntry(ZEARoleAssistant, answer);
  }
  static std::string turnsOf(const IZEAAssistantMemory& memory, std::int32_t limit = 0) {
    std::string text;
    for (const auto& entry : memory.obtainEntries(limit)) text += (entry.role == ZEARoleUser ? "?" : "!") + entry.text;
    return text;
  }
  bool hasBytes(const std::string& bytes) const {
    for (const auto& entry : fs::directory_iterator(folder)) {
      std::ifstream in(entry.path(), std::ios::binary);
      const std::string content((std::istreambuf_iterator<char>(in)), {});
      if (content.find(bytes) != content.npos) return true;
    }
    return false;
  }

  fs::path folder;
  std::string file;
};

TEST_F(ConversationStoreTest, KeepsConversationsForTheNextProcess) {
  const std::string odd("\0\xFF\n'", 4);
  std::int64_t id = 0;
  {
    const auto store = open();
    id = store->create("Orders").id;
    const auto memory = store->memory(id);
    add(*memory, "one", "first");
    add(*memory, odd, "");
    memory->addEntry(ZEARoleUser, "unanswered");
    EXPECT_EQ(turnsOf(*memory), "?one!first?" + odd + "!?unanswered");
    EXPECT_EQ(memory->failure(), "");
  }
  struct stat status {};
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);

  const auto store = open();
  const auto memory = store->memory(id);
  EXPECT_EQ(turnsOf(*memory), "?one!first?" + odd + "!");
  EXPECT_EQ(turnsOf(*memory, 3), "?" + odd + "!");
  const auto list = store->list();
  ASSERT_EQ(list.conversations.size(), 1u);
  EXPECT_EQ(list.conversations[0].title, "Orders");
  EXPECT_EQ(list.conversations[0].answers, 2u);
  EXPECT_GE(list.conversations[0].changedAt, list.conversations[0].startedAt);
}

TEST_F(ConversationStoreTest, IsSharedSearchedAndDeletedWithoutATrace) {
  const auto store = open();
  const auto other = open();
  const std::int64_t one = store->create("Orders of marker_title").id;
  const std::int64_t two = other->create("Customers").id;
  const auto memory = store->memory(one);
  const auto sameMemory = other->memory(one);
  add(*memory, "marker_question", "a");
  add(*sameMemory, "b", "Marker_Answer");
  EXPECT_EQ(turnsOf(*memory), turnsOf(*sameMemory));
  EXPECT_EQ(other->search("marker_answer").conversations.size(), 1u);
  EXPECT_EQ(other->search("ORDERS").conversations.size(), 1u);
  EXPECT_EQ(other->search("100%").conversations.size(), 0u);

  EXPECT_EQ(store->rename(one, "Short"), "");
  EXPECT_FALSE(hasBytes("marker_title"));
  EXPECT_TRUE(hasBytes("marker_question"));
  EXPECT_EQ(store->remove(one), "");
  EXPECT_FALSE(hasBytes("marker_question"));
  EXPECT_FALSE(hasBytes("Marker_Answer"));
  add(*sameMemory, "late", "turn");
  EXPECT_EQ(sameMemory->failure(), "The conversation cannot be stored: it has been deleted.");
  EXPECT_EQ(other->list().conversations.size(), 1u);
  EXPECT_EQ(other->removeUnchangedSince(other->list().conversations[0].changedAt), "");
  EXPECT_EQ(other->list().conversations.at(0).id, two);
  EXPECT_EQ(other->removeUnchangedSince(other->list().conversations[0].changedAt + 1), "");
  EXPECT_TRUE(store->list().conversations.empty());
}

TEST_F(ConversationStoreTest, RefusesWhatIsNoStoreOfItsOwn) {
  const auto openedWith = [this](const std::string& script) {
    fs::remove(file);
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, script.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
    return ConversationStore::open(file).error;
  };
  EXPECT_EQ(openedWith("CREATE TABLE t(a)"), file + " cannot be opened: it is another program's database.");
  EXPECT_EQ(openedWith("PRAGMA user_version = 3"), file + " cannot be opened: it is another program's database.");
  EXPECT_EQ(openedWith("PRAGMA application_id = 1514488131; PRAGMA user_version = 2; CREATE TABLE t(a)"),
            file + " cannot be opened: a newer version of the program has written it.");
  std::ofstream(file) << std::string(4096, 'x');
  EXPECT_EQ(ConversationStore::open(file).error, file + " cannot be opened: file is not a database.");
  EXPECT_EQ(fs::file_size(file), 4096u);
  EXPECT_EQ(ConversationStore::open(folder).error, folder.string() + " cannot be opened: Is a directory.");
  EXPECT_EQ(ConversationStore::open(folder / "none" / "a").error,
            (folder / "none" / "a").string() + " cannot be opened: No such file or directory.");
  const fs::path pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(ConversationStore::open(pipe).error, pipe.string() + " cannot be opened: it is no regular file.");
}

TEST_F(ConversationStoreTest, LosesNothingWhenTheFileCannotGrow) {
  const auto store = open();
  const auto memory = store->memory(store->create("t").id);
  add(*memory, "a", "b");
  // The system refuses to write further, as a full disk does.
  const auto former = signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small{64 * 1024, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  add(*memory, "c", std::string(200000, 'd'));
  const std::string failure = memory->failure();
  setrlimit(RLIMIT_FSIZE, &limit);
  signal(SIGXFSZ, former);
  EXPECT_EQ(failure.find("The conversation cannot be stored: "), 0u) << failure;
  EXPECT_EQ(memory->obtainEntries(0).size(), 4u);
  EXPECT_EQ(open()->memory(1)->obtainEntries(0).size(), 2u);
  EXPECT_TRUE(memory->store());
  EXPECT_EQ(memory->failure(), "");
  EXPECT_EQ(open()->memory(1)->obtainEntries(0).size(), 4u);
}

TEST_F(ConversationStoreTest, FlushesOnceForAnAnswer) {
  const auto store = open();
  const auto memory = store->memory(store->create("t").id);
  add(*memory, "a", "b");
  const int before = flushes;
  for (int i = 0; i < 10; ++i) add(*memory, "question", "answer");
  EXPECT_EQ(flushes - before, 10);
}

TEST_F(ConversationStoreTest, HoldsWholePairsWheneverItsProcessIsKilled) {
  static_cast<void>(open()->create("t"));
  std::size_t last = 0;
  for (int i = 0; i < 60; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      auto opened = ConversationStore::open(file);
      const auto memory = opened.store->memory(1);
      for (int turn = 0;; ++turn) add(*memory, std::to_string(turn) + std::string(3000, 'q'), std::to_string(turn));
    }
    usleep(static_cast<useconds_t>(1000 + (i * 7919) % 15000));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const auto turns = open()->memory(1)->obtainEntries(0);
    EXPECT_EQ(turns.size() % 2, 0u);
    EXPECT_GE(turns.size(), last);
    last = turns.size();
    for (std::size_t at = 0; at + 1 < turns.size(); at += 2) {
      ASSERT_EQ(turns[at].role, ZEARoleUser);
      ASSERT_EQ(turns[at].text.substr(0, turns[at].text.find('q')), turns[at + 1].text);
    }
  }
  EXPECT_GT(last, 0u);
}

}  // namespace
