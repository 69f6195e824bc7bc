// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/console_fixture.h"
#include "support/terminal.h"

namespace {

using support::openAiAnswer;
using support::Terminal;

/// The program at terminals whose locale knows UTF-8, and at others.
class ConsoleTerminal : public support::ConsoleFixture, public testing::WithParamInterface<const char*> {};

// Ctrl-C ended the program, and with it the conversation.
TEST_P(ConsoleTerminal, ClearsTheLineAndEndsQuestionsWithControlC) {
  createDatabase("small.db", "CREATE TABLE notes (id INTEGER PRIMARY KEY)");
  enqueue(200, openAiAnswer("First."));
  standin::Reply slow{200, "{}"};
  slow.delay = std::chrono::minutes(10);
  standin_.enqueue(slow);
  enqueue(200, openAiAnswer("Third."));
  Terminal terminal({ZEA_PROGRAM, "chat", "--db", path("small.db"), "--provider", "openai", "--host", url_,
                     "--key-file", path("key"), "--model", "m"},
                    {GetParam()});

  terminal.readUntil("zea> ");
  terminal.type("one\n");
  EXPECT_NE(terminal.readUntil("zea> ").find("First."), std::string::npos);
  terminal.type("half a line\x03");
  terminal.readUntil("\nzea> ");
  terminal.type("two\n");
  EXPECT_NE(terminal.readUntil("Ctrl-C ends the question").find(" 1 s, "), std::string::npos) << terminal.all();
  terminal.type("\x03");
  EXPECT_NE(terminal.readUntil("zea> ").find("The request was cancelled."), std::string::npos);
  terminal.type("three\n");
  EXPECT_NE(terminal.readUntil("zea> ").find("Third."), std::string::npos);
  terminal.type("\x04");

  EXPECT_EQ(terminal.waitForEnd(), 0) << terminal.all();
  ASSERT_EQ(standin_.requests().size(), 3U);
  const std::string body = standin_.requests()[2].body;
  EXPECT_NE(body.find(R"("one"},{"role":"assistant","content":"First."},{"role":"user","content":"three"}])"),
            std::string::npos)
      << body;
}

TEST_P(ConsoleTerminal, AsksBeforeItSendsALot) {
  std::string script = "BEGIN;";
  for (int i = 0; i < 1500; ++i) {
    script += "CREATE TABLE matter_" + std::to_string(i) + " (id INTEGER PRIMARY KEY, first_of_all TEXT, second INT);";
  }
  createDatabase("large.db", script + "COMMIT;");
  Terminal terminal({ZEA_PROGRAM, "chat", "--db", path("large.db"), "--provider", "openai", "--host", url_,
                     "--key-file", path("key"), "--model", "m", "--budget", "0"},
                    {GetParam()});

  terminal.readUntil("zea> ");
  terminal.type("one\n");
  EXPECT_NE(terminal.readUntil("Send that many? (y/N) ").find(" tokens)"), std::string::npos) << terminal.all();
  terminal.type("\n");
  terminal.readUntil("zea> ");
  EXPECT_EQ(standin_.requests().size(), 0U);
  terminal.type("two\n");
  terminal.readUntil("(y/N) ");
  terminal.type("y");
  EXPECT_NE(terminal.readUntil("zea> ").find("I am a stand-in"), std::string::npos);
  terminal.type("\x04");
  EXPECT_EQ(terminal.waitForEnd(), 0);
}

// The shell showed the key that was typed after Ctrl-Z and "fg".
TEST_P(ConsoleTerminal, ShowsNoKeyAfterControlZ) {
  createDatabase("small.db", "CREATE TABLE notes (id INTEGER PRIMARY KEY)");
  Terminal terminal({"/bin/sh", "-mic",
                     "'" ZEA_PROGRAM "' ask q --db '" + path("small.db") + "' --provider openai --host " + url_ +
                         " --model m; echo stopped; fg; echo ended"},
                    {GetParam()});

  terminal.readUntil("Key for OPENAI: ");
  terminal.type("\x1Asecret-key\n");
  terminal.readUntil("stopped");
  terminal.readUntil("ended");

  EXPECT_EQ(terminal.all().find("secret-key"), std::string::npos) << terminal.all();
  ASSERT_EQ(standin_.requests().size(), 1U) << terminal.all();
  EXPECT_EQ(standin_.requests()[0].header("Authorization"), "Bearer secret-key");
}

class ConsoleSession : public ConsoleTerminal {
 protected:
  Terminal start(const std::string& option) const {
    return Terminal({ZEA_PROGRAM, "chat", "--db", path("small.db"), "--provider", "openai", "--host", url_,
                     "--key-file", path("key"), "--model", "m", option},
                    {GetParam(), "HOME=" + path(""), "EDITOR=cp " + path("edited"), "GEMINI_API_KEY=g-secret"});
  }
  // Types, and sees the text and then the prompt. A line that is shown anew has a prompt, too.
  static void say(Terminal& terminal, const std::string& keys, const std::string& text, bool isPrompted = true) {
    terminal.type(keys);
    EXPECT_NE(terminal.readUntil(text).find(text), std::string::npos) << text << " is not in " << terminal.all();
    if (isPrompted) terminal.readUntil("zea> ");
  }
  // The same for a question with a scripted answer.
  void ask(Terminal& terminal, const std::string& keys, const std::string& answer = "Answered.") {
    enqueue(200, openAiAnswer(answer));
    say(terminal, keys, answer.substr(answer.rfind('\n') + 1) + "\r\n");
  }
  std::string lastBody() const { return standin_.requests().back().body; }
};

TEST_P(ConsoleSession, GoesAsAPersonExpects) {
  createDatabase("small.db",
                 "CREATE TABLE notes (id INTEGER PRIMARY KEY, name TEXT); INSERT INTO notes VALUES (7, 'é')");
  write("edited", "SELECT id + 1 FROM notes\n");
  Terminal first = start("--keep");
  EXPECT_NE(first.readUntil("zea> ").find("This is OPENAI, model m, about " + path("small.db")), std::string::npos);

  ask(first, "Größe 日?\x0F\n");
  EXPECT_NE(lastBody().find(R"("Größe 日?")"), std::string::npos) << lastBody();
  ask(first, "two\x1b\rlines\n");
  EXPECT_NE(lastBody().find(R"("two\nlines")"), std::string::npos) << lastBody();

  say(first, "/provider goo\tg " + url_ + "\n", "goes on with GOOGLE, model g");
  say(first, "three\n", "earlier turns");
  EXPECT_EQ(standin_.requests().back().target, "/v1beta/models/g:generateContent?key=g-secret");
  say(first, "/provider openai\n", "goes on with OPENAI, model m");
  ask(first, "four\n");
  EXPECT_EQ(standin_.requests().back().header("Authorization"), "Bearer sk-secret");

  ask(first, "five\n", "```sql\nSELECT id, name FROM notes\n```");
  say(first, "/run\n", "SELECT id, name FROM notes\r\nRun it? (Y/n) ", false);
  say(first, "\n", "7  | é");
  say(first, "/exp\t\n", "SCAN notes");
  say(first, "/run\n", "(Y/n) ", false);
  say(first, "\x03", "no\r\n");
  say(first, "/copy\n", "\x1b]52;c;U0VMRUNUIGlkLCBuYW1lIEZST00gbm90ZXM=\a");
  say(first, "/edit\n", "SELECT id + 1 FROM notes\r\n");
  say(first, "/run\n", "(Y/n) ", false);
  say(first, "y", "\r\n8\r\n");

  // A refused statement, and a key that tells the model.
  ask(first, "six\n", "```sql\nDELETE FROM notes\n```");
  say(first, "/run\n", "It changes rows.\r\nTell the model, for another statement? (y/N) ", false);
  const std::string endless = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT max(i) FROM n";
  ask(first, "y", "```sql\n" + endless + "\n```");
  EXPECT_NE(lastBody().find("It changes rows."), std::string::npos);
  // Ctrl-C ends a statement that has no end, and the chat goes on.
  say(first, "/run\n", "(Y/n) ", false);
  say(first, "\n", "yes\r\n", false);
  first.typeUntil("\x03", "The statement was cancelled.");
  first.typeUntil("\x03", "zea> ");
  say(first, "/save Mine\n", "This conversation is kept.");
  first.type("\x04");
  EXPECT_EQ(first.waitForEnd(), 0) << first.all();

  Terminal second = start("--continue");
  EXPECT_NE(second.readUntil("zea> ").find("This conversation is kept: Mine, 7 answers so far."), std::string::npos)
      << second.all();
  // The lines before are there, too: up, past "/save Mine" and "/run", to a question.
  ask(second, "\x10\x10\x10\x10\n");
  EXPECT_NE(lastBody().find(R"({"role":"user","content":"five"},)"), std::string::npos) << lastBody();
  EXPECT_NE(lastBody().find(R"({"role":"user","content":"six"}]})"), std::string::npos) << lastBody();
  second.type("/quit now\n");
  EXPECT_EQ(second.waitForEnd(), 0) << second.all();
  struct stat kept {};
  ASSERT_EQ(::stat(path(".local/state/zea/history").c_str(), &kept), 0);
  EXPECT_EQ(kept.st_mode & 0777U, 0600U);
  EXPECT_EQ(first.all().find("sk-secret"), std::string::npos);
}

TEST_P(ConsoleTerminal, ShowsManyRowsThroughAPager) {
  createDatabase("small.db", "CREATE TABLE notes (id INTEGER PRIMARY KEY); INSERT INTO notes VALUES (1), (2), (3)");
  enqueue(200, openAiAnswer("```sql\nSELECT id FROM notes\n```"));
  Terminal terminal({ZEA_PROGRAM, "ask", "q", "--run", "--db", path("small.db"), "--provider", "openai", "--host", url_,
                     "--key-file", path("key"), "--model", "m"},
                    {GetParam(), "PAGER=sed s/^/paged:/"}, 5);

  EXPECT_EQ(terminal.waitForEnd(), 0);
  EXPECT_NE(terminal.all().find("paged:3\r\n"), std::string::npos) << terminal.all();
}

const auto locales = testing::Values("LC_ALL=C.UTF-8", "LC_ALL=C");
std::string nameOfLocale(const testing::TestParamInfo<const char*>& one) { return one.index == 0 ? "Utf8" : "C"; }
INSTANTIATE_TEST_SUITE_P(Locales, ConsoleTerminal, locales, nameOfLocale);
INSTANTIATE_TEST_SUITE_P(Locales, ConsoleSession, locales, nameOfLocale);

}  // namespace
