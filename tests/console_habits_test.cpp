// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <sstream>

#include "support/console_fixture.h"

namespace {

using support::ChildResult;
using support::openAiAnswer;
using ConsoleHabits = support::ConsoleFixture;

TEST_F(ConsoleHabits, WritesRowsForOtherPrograms) {
  createDatabase("small.db",
                 "CREATE TABLE notes (id INTEGER PRIMARY KEY, text TEXT); INSERT INTO notes VALUES"
                 "(1, 'a \"b\", c'), (22, NULL), (3, x'0001'), (4, ''), (5, '0123')");
  const std::string answer = openAiAnswer("```sql\nSELECT id, text, id * 1.5 AS more FROM notes ORDER BY id\n```");

  enqueue(200, answer);
  EXPECT_EQ(talk({"ask", "q", "--csv"}).output,
            "id,text,more\r\n1,\"a \"\"b\"\", c\",1.5\r\n3,0001,4.5\r\n4,\"\",6.0\r\n5,0123,7.5\r\n22,,33.0\r\n");
  enqueue(200, answer);
  const ChildResult json = talk({"ask", "q", "--json"});
  EXPECT_EQ(json.output, R"([{"id":1,"text":"a \"b\", c","more":1.5},)"
                         "\n"
                         R"({"id":3,"text":"0001","more":4.5},)"
                         "\n"
                         R"({"id":4,"text":"","more":6.0},)"
                         "\n"
                         R"({"id":5,"text":"0123","more":7.5},)"
                         "\n"
                         R"({"id":22,"text":null,"more":33.0}])"
                         "\n")
      << json.error;
}

TEST_F(ConsoleHabits, ReadsQuestionsFromStandardInput) {
  talk({"ask", "Why", "does", "this", "fail?", "-"}, "line 1\nline 2\n");
  talk({"ask", "-"}, "Only this");

  ASSERT_EQ(standin_.requests().size(), 2U);
  EXPECT_NE(standin_.requests()[0].body.find(R"("Why does this fail?\n\nline 1\nline 2\n")"), std::string::npos);
  EXPECT_NE(standin_.requests()[1].body.find(R"("Only this")"), std::string::npos);
}

TEST_F(ConsoleHabits, TellsThatAListingIsAPageOrBroken) {
  std::string models;
  for (int i = 0; i < 20; ++i)
    models += (i > 0 ? "," : "") +
              (R"({"id":"m)" + std::to_string(i) + R"(","type":"model","created_at":"2026-01-02T03:04:05Z"})");
  enqueue(200, R"({"data":[)" + models + "]}");
  enqueue(200, R"({"data":[{"id":"m)");
  const std::vector<std::string> listing = {"models", "--provider", "anthropic", "--host",
                                            url_,     "--key-file", path("key")};

  const ChildResult page = run(listing);
  const ChildResult cut = run(listing);

  EXPECT_EQ(std::count(page.output.begin(), page.output.end(), '\n'), 20);
  EXPECT_EQ(page.error, "These are the first 20 of a longer list: ANTHROPIC shows no more at once.\n");
  EXPECT_EQ(cut.exitCode, 1);
  EXPECT_EQ(cut.error, "The provider's listing names no models, or is not whole.\n");
}

// A base URL made "/v1/v1", and https to a plain server here ended in words about TLS alone.
TEST_F(ConsoleHabits, TakesHostsAsPeopleWriteThem) {
  createDatabase("small.db", "CREATE TABLE notes (id INTEGER PRIMARY KEY)");
  const auto ask = [this](const std::string& provider, const std::string& host) {
    return run({"ask", "q", "--db", path("small.db"), "--provider", provider, "--host", host, "--key-file", path("key"),
                "--model", "m", "--timeout", "2"});
  };
  const std::pair<const char*, const char*> cases[] = {
      {"openai", "/v1"}, {"openai", "/v1/"}, {"openai", "/"}, {"anthropic", "/v1/messages"}, {"google", "/v1beta"}};
  for (const auto& [provider, path] : cases) {
    EXPECT_EQ(ask(provider, url_ + path).exitCode, 0) << provider << path;
  }
  const std::string here = "127.0.0.1:" + std::to_string(standin_.port());
  const ChildResult unsaid = ask("openai", here);
  const ChildResult secure = ask("openai", "https://" + here);

  EXPECT_EQ(unsaid.error.find(here + " is asked over https. If the server there has only http, try http://" + here), 0U)
      << unsaid.error;
  EXPECT_EQ(secure.exitCode, 3);
  EXPECT_NE(secure.error.find("try http:// with the host"), std::string::npos) << secure.error;
}

TEST_F(ConsoleHabits, TakesSettingsFromTheEnvironmentAndAFile) {
  createDatabase("small.db", "CREATE TABLE notes (id INTEGER PRIMARY KEY)");
  std::filesystem::create_directories(path("config/zea"));
  const std::string home = "XDG_CONFIG_HOME=" + path("config");
  const std::string key = "OPENAI_API_KEY=from-variable";
  const auto config = [this](const std::string& text) { write("config/zea/config", text); };
  config("# mine\nprovider = OpenAI\nmodel=of-file\n\nhost = " + url_ + "\ndb = " + path("small.db") +
         "\nhistory = no\n");

  EXPECT_EQ(run({"ask", "q"}, "", {home, key}).exitCode, 0);
  EXPECT_EQ(run({"ask", "q"}, "", {home, key, "ZEA_MODEL=of-variable"}).exitCode, 0);
  EXPECT_EQ(run({"ask", "q", "--model", "of-argument"}, "", {home, key, "ZEA_MODEL=of-variable"}).exitCode, 0);
  // Another provider's key must not go to the host that stands beside this one.
  const ChildResult other = run({"ask", "q", "--provider", "x"}, "", {home, "XAI_API_KEY=x"});
  EXPECT_NE(other.error.find("Name a model"), std::string::npos) << other.error;

  const char* const models[] = {R"("model":"of-file")", R"("model":"of-variable")", R"("model":"of-argument")"};
  ASSERT_EQ(standin_.requests().size(), std::size(models));
  for (std::size_t at = 0; at < std::size(models); ++at) {
    EXPECT_NE(standin_.requests()[at].body.find(models[at]), std::string::npos) << models[at];
  }
  const std::pair<const char*, const char*> faults[] = {
      {"provider openai\n", "line 1: a line is a name, = and a value."},
      {"\nkey = sk-secret\n", "line 2: there are provider, model"},
      {"keep = perhaps\n", "yes or no"},
      {"host = h\n", "names a host without the provider"},
  };
  for (const auto& [text, sentence] : faults) {
    config(text);
    const ChildResult result = run({"ask", "q", "--db", path("small.db")}, "", {home});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.error.find(sentence), std::string::npos) << result.error;
    EXPECT_EQ(result.error.find("sk-secret"), std::string::npos);
  }
}

TEST_F(ConsoleHabits, SavesLoadsAndDeletesConversations) {
  createDatabase("small.db", "CREATE TABLE notes (id INTEGER PRIMARY KEY)");
  const auto chat = [this](const std::string& input) {
    return run({"chat", "--db", path("small.db"), "--provider", "openai", "--host", url_, "--key-file", path("key"),
                "--model", "m"},
               input, {"XDG_DATA_HOME=" + path("data")});
  };
  for (const char* const answer : {"First.", "Second.", "Third."}) enqueue(200, openAiAnswer(answer));

  chat("one\n/save Mine\ntwo\n/new\nthree\n");
  const ChildResult second = chat("/conversations\n/load Mine\nfour\n/load none\n/delete Mine\nfive\n/conversations\n");

  const auto requests = standin_.requests();
  ASSERT_EQ(requests.size(), 5U);
  EXPECT_EQ(second.error.find("1  2"), 0U) << "the one that /new began is titled by its time: " << second.error;
  for (const char* line : {"\n2  Mine  (2 answers)\n", "The conversation goes on after 2 answers.\n",
                           "There is no conversation of that number or title", "It is deleted.\n1  2"}) {
    EXPECT_NE(second.error.find(line), std::string::npos) << line << " is not in " << second.error;
  }
  EXPECT_NE(requests[3].body.find(R"("one"},{"role":"assistant","content":"First."},{"role":"user","content":"two"})"),
            std::string::npos);
  EXPECT_EQ(requests[3].body.find("three"), std::string::npos);
  EXPECT_NE(requests[4].body.find("four"), std::string::npos) << "what is deleted still goes on";
}

TEST_F(ConsoleHabits, ReadsAStructureThatHasChangedAgain) {
  createDatabase("small.db", "CREATE TABLE notes (id INTEGER PRIMARY KEY)");
  standin_.observe([this, isFirst = true](const standin::Request&) mutable {
    if (std::exchange(isFirst, false)) createDatabase("small.db", "CREATE TABLE added (id INTEGER PRIMARY KEY)");
  });

  const ChildResult chat = talk({"chat"}, "one\ntwo\nthree\n");

  ASSERT_EQ(standin_.requests().size(), 3U);
  EXPECT_EQ(standin_.requests()[0].body.find("CREATE TABLE `added`"), std::string::npos);
  EXPECT_NE(standin_.requests()[1].body.find("CREATE TABLE `added`"), std::string::npos);
  EXPECT_EQ(chat.error, "The database has changed; this is about " + path("small.db") + " (2 tables and views) now.\n");
}

TEST_F(ConsoleHabits, SendsFailuresAndRowsWhenAsked) {
  createDatabase("small.db", "CREATE TABLE notes (id INTEGER PRIMARY KEY); INSERT INTO notes VALUES (7)");
  for (const char* const statement : {"DELETE FROM notes", "SELECT gone FROM notes", "SELECT id FROM notes"}) {
    enqueue(200, openAiAnswer(std::string("```sql\n") + statement + "\n```"));
  }

  const ChildResult chat = talk(
      {"chat"}, "/fix\n/* first */ q\n/run\n/fix\n/run\n/fix\n/explain\n/run\n/rows Why?\n/rows\n/quit now\nlost\n");

  const auto requests = standin_.requests();
  ASSERT_EQ(requests.size(), 4U) << chat.error;
  EXPECT_NE(requests[0].body.find("/* first */ q"), std::string::npos);
  EXPECT_NE(requests[1].body.find(R"(The statement can't be run: It changes rows.\nDELETE FROM notes)"),
            std::string::npos);
  EXPECT_NE(requests[2].body.find("no such column: gone"), std::string::npos);
  EXPECT_NE(requests[3].body.find(R"("Why?)"), std::string::npos) << requests[3].body;
  EXPECT_NE(chat.output.find("SCAN notes"), std::string::npos) << chat.output;
  EXPECT_NE(chat.error.find("No statement has failed."), std::string::npos);
}

// A conversation that had filled the model's context could only be ended.
TEST_F(ConsoleHabits, SendsTheLatestTurnsOfALongConversation) {
  enqueue(200, openAiAnswer("Short."));
  enqueue(200, openAiAnswer("Long: " + std::string(100'000, 'x') + " " + std::string(100'000, 'y')));
  enqueue(200, openAiAnswer("Short again."));

  talk({"chat"}, "one\ntwo\nthree\nfour\n");

  ASSERT_EQ(standin_.requests().size(), 4U);
  EXPECT_NE(standin_.requests()[1].body.find("Short."), std::string::npos);
  EXPECT_EQ(standin_.requests()[3].body.find("Long: "), std::string::npos);
  EXPECT_NE(standin_.requests()[3].body.find("Short again."), std::string::npos);
}

TEST_F(ConsoleHabits, LeavesTheFolderOfADatabaseAsItIs) {
  std::filesystem::create_directories(path("place"));
  createDatabase("place/small.db", "PRAGMA journal_mode=WAL; CREATE TABLE notes (id INTEGER PRIMARY KEY)");
  const auto listing = [this] {
    std::map<std::string, std::pair<std::uintmax_t, std::int64_t>> files;
    for (const auto& entry : std::filesystem::directory_iterator(path("place"))) {
      files[entry.path()] = {entry.file_size(), entry.last_write_time().time_since_epoch().count()};
    }
    return files;
  };
  const auto before = listing();
  const std::vector<std::vector<std::string>> commands = {
      {"ask", "notes?"}, {"ask", "notes?", "--run"}, {"ask", "notes?", "--sql"}, {"prompt"}, {"chat"}};
  for (std::vector<std::string> command : commands) {
    command.insert(command.end(), {"--db", path("place/small.db")});
    EXPECT_EQ(run(command, "notes?\n/run\n/explain\n").exitCode, 0) << command[0];
    EXPECT_EQ(listing(), before) << command[0];
  }
}

TEST_F(ConsoleHabits, FitsItsHelpIntoATerminalAndTheManualKnowsEachOption) {
  std::ifstream file(ZEA_SHARE "/zea.1");
  std::string manual{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  manual.erase(std::remove(manual.begin(), manual.end(), '\\'), manual.end());
  const ChildResult whole = run({"--help"});
  EXPECT_LT(whole.output.find("Examples:"), whole.output.find("Options:"));
  for (const char* const command : {"ask", "chat", "prompt", "models", "sample", "--help"}) {
    const ChildResult help = run({command, "--help"});
    EXPECT_EQ(help.exitCode, 0) << command;
    std::istringstream lines(help.output);
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(line.size(), 80U) << line;
      const std::size_t option = line.find("--");
      if (line.rfind("  -", 0) != 0 || option == std::string::npos) continue;
      const std::string name = line.substr(option, line.find_first_of(" ,", option) - option);
      EXPECT_NE(manual.find(name), std::string::npos) << name << " is not in the manual";
    }
  }
  std::istringstream commands(talk({"chat"}, "/help\n").error);
  for (std::string line; std::getline(commands, line);) EXPECT_LE(line.size(), 80U) << line;
}

TEST_F(ConsoleHabits, IsLeftAsOtherProgramsAre) {
  for (const char* const word : {"/quit", "/quit now", "/exit", "quit", "exit", "\\q", ".quit"}) {
    EXPECT_EQ(talk({"chat"}, std::string(word) + "\nlost\n").exitCode, 0) << word;
  }
  EXPECT_EQ(standin_.requests().size(), 0U);
}

TEST_F(ConsoleHabits, IsCompletedByShells) {
  const std::string bash = "source " ZEA_SHARE
                           "/zea.bash; complete() { COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); COMPREPLY=(); _zea; "
                           "echo \"${COMPREPLY[*]}\"; }; z=" ZEA_PROGRAM
                           "; complete $z m; complete $z ask --cs; complete $z chat --provider a";
  const std::string zsh =
      "compadd() { print -r -- \"$@\" }; z=" ZEA_PROGRAM "; complete() { words=(\"$@\"); CURRENT=$#; source " ZEA_SHARE
      "/zea.zsh }; complete $z m; complete $z ask --; complete $z chat --provider a";
  const std::string path = "PATH=/usr/local/bin:/usr/bin:/bin";

  const ChildResult inBash = support::runChild({"/bin/bash", "-c", bash}, {path});
  const ChildResult inZsh = support::runChild({"/bin/zsh", "-fc", zsh}, {path});

  EXPECT_EQ(inBash.output, "models\n--csv\nanthropic alibaba\n") << inBash.error;
  EXPECT_EQ(inZsh.output.find("ask chat models prompt sample\n"), 0U) << inZsh.output << inZsh.error;
  for (const char* word : {"--csv", "--key-file", "\nopenai google deepseek ollama x anthropic"}) {
    EXPECT_NE(inZsh.output.find(word), std::string::npos) << word << inZsh.output << inZsh.error;
  }
}

}  // namespace
