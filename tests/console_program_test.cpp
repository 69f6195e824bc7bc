// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "support/console_fixture.h"

namespace {

using support::ChildResult;
using support::openAiAnswer;
using ConsoleProgram = support::ConsoleFixture;

TEST_F(ConsoleProgram, AnswersAboutTheSampleDatabaseWithoutAProvider) {
  const ChildResult sample = run({"sample", path("shop.db")});
  const ChildResult again = run({"sample", path("shop.db")});
  const ChildResult asked = run({"ask", "--db", path("shop.db"), "Show the orders"});

  EXPECT_EQ(sample.exitCode, 0) << sample.error;
  EXPECT_EQ(again.exitCode, 2);
  EXPECT_EQ(asked.exitCode, 0) << asked.error;
  EXPECT_NE(asked.error.find("stand-in"), std::string::npos);
  for (const char* word : {"14 tables", "order_items", "shipment_items", "open_orders", "```sql\nSELECT orders.id"}) {
    EXPECT_NE(asked.output.find(word), std::string::npos) << word << " is not in " << asked.output;
  }
}

TEST_F(ConsoleProgram, ShowsThePromptForADatabaseWhole) {
  createDatabase("keys.db", R"(
      CREATE TABLE region (country TEXT, code INT, PRIMARY KEY (code, country)) WITHOUT ROWID;
      CREATE TABLE "a`b" (x, y DECIMAL(10, 2) NOT NULL, twice INT GENERATED ALWAYS AS (x * 2));
      CREATE TABLE person (id INTEGER PRIMARY KEY, boss INT REFERENCES person, c TEXT, n INT, r INT REFERENCES gone,
        FOREIGN KEY (n, c) REFERENCES region, FOREIGN KEY (c, n) REFERENCES region (country, code));
      CREATE INDEX by_boss ON person (boss);
      CREATE VIEW bosses AS SELECT boss, count(*) AS n FROM person GROUP BY boss;
      CREATE VIEW lost AS SELECT * FROM nowhere;)");

  const ChildResult shown = run({"prompt", "--db", path("keys.db"), "--instructions", "Be \xFF brief."});

  EXPECT_EQ(shown.exitCode, 0) << shown.error;
  EXPECT_EQ(
      shown.output,
      "Be \uFFFD brief.\n\n"
      "Write SQL in fenced sql blocks.\n"
      "Write SQL for SQLite. The statements of the structure quote names with backticks; quote them with double quotes "
      "instead.\n"
      "The queries behind the views:\n"
      "`bosses`: CREATE VIEW bosses AS SELECT boss, count(*) AS n FROM person GROUP BY boss\n"
      "CREATE TABLE `region` (`country` TEXT NOT NULL, `code` INT NOT NULL, PRIMARY KEY(`code`, `country`))\n"
      "CREATE TABLE `a`b` (`x` ANY, `y` DECIMAL(10, 2) NOT NULL, `twice` INT GENERATED ALWAYS)\n"
      "CREATE TABLE `person` (`id` INTEGER, `boss` INT, `c` TEXT, `n` INT, `r` INT, PRIMARY KEY(`id`), "
      "FOREIGN KEY(`boss`) REFERENCES `person`(`id`), "
      "FOREIGN KEY(`n`, `c`) REFERENCES `region`(`code`, `country`), "
      "FOREIGN KEY(`c`, `n`) REFERENCES `region`(`country`, `code`))\n"
      "CREATE VIEW `bosses` (`boss` INT, `n` ANY)\n\n");
  EXPECT_EQ(shown.error, "lost is left out: no such table: main.nowhere.\n");
}

TEST_F(ConsoleProgram, SendsTheFirstTurnWithTheSecondQuestion) {
  enqueue(200, R"({"choices":[{"message":{"role":"assistant","content":"First."}}]})");

  const ChildResult chat = talk({"chat", "--temperature", "0.5"}, "one\n\n/model other\ntwo\n/quit\nthree\n");

  EXPECT_EQ(chat.exitCode, 0) << chat.error;
  EXPECT_EQ(chat.output.rfind("First.\nI am a stand-in", 0), 0U) << chat.output;
  ASSERT_EQ(standin_.requests().size(), 2U);
  EXPECT_EQ(standin_.requests()[0].header("Authorization"), "Bearer sk-secret");
  const std::string body = standin_.requests()[1].body;
  EXPECT_EQ(body.rfind(R"({"model":"other","temperature":0.5,"messages":[{"role":"developer",)", 0), 0U) << body;
  EXPECT_NE(body.find(R"({"role":"user","content":"one"},{"role":"assistant","content":"First."},)"
                      R"({"role":"user","content":"two"}])"),
            std::string::npos)
      << body;
}

TEST_F(ConsoleProgram, RunsTheStatementsOfAnswersThatOnlyRead) {
  createDatabase("small.db",
                 "CREATE TABLE notes (id INTEGER PRIMARY KEY, text TEXT); INSERT INTO notes VALUES"
                 "(1, 'Grüße'), (22, NULL), (3, x'0001')");
  const std::string reading = openAiAnswer("All:\n```sql\nSELECT id, text FROM notes ORDER BY text\n```");
  const std::string writing = openAiAnswer("```sql\nDELETE FROM notes\n```");

  enqueue(200, reading);
  const ChildResult shown = talk({"ask", "q", "--sql"});
  EXPECT_EQ(shown.exitCode, 0) << shown.error;
  EXPECT_EQ(shown.output, "SELECT id, text FROM notes ORDER BY text\n");

  enqueue(200, reading);
  const ChildResult asked = talk({"ask", "q", "--run"});
  EXPECT_EQ(asked.exitCode, 0) << asked.error;
  EXPECT_EQ(asked.output, "id | text\n-- | ---------\n22 | NULL\n1  | Grüße\n3  | (2 bytes)\n");

  enqueue(200, writing);
  enqueue(200, writing);
  const ChildResult refused = talk({"ask", "q", "--run"});
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_EQ(refused.error, "It changes rows.\n");

  enqueue(200, reading);
  const ChildResult chat = talk({"chat"}, "/run\none\n/run\n/new\n/run\ntwo\nquit\nthree\n");
  EXPECT_EQ(chat.error,
            "The last answer has no statement.\nA new conversation begins.\nThe last answer has no statement.\n");
  EXPECT_NE(chat.output.find("22 | NULL"), std::string::npos) << chat.output;
  EXPECT_NE(chat.output.find("no earlier turns"), std::string::npos) << chat.output;
}

// A blank answer was a success, and some providers refused every question after it.
TEST_F(ConsoleProgram, TellsThatAnAnswerIsBlankAndForgetsTheQuestion) {
  enqueue(200, openAiAnswer(" \n"));
  const ChildResult chat = talk({"chat"}, "one\ntwo\n");
  EXPECT_NE(chat.error.find("The model answered with nothing"), std::string::npos);
  EXPECT_NE(chat.output.find("no earlier turns"), std::string::npos) << chat.output;

  // A refusal, a filter, no room left, thinking and nothing else.
  const std::pair<const char*, const char*> cases[] = {
      {"openai", R"({"choices":[{"message":{"role":"assistant","content":null,"refusal":"I cannot."}}]})"},
      {"openai", R"({"choices":[{"finish_reason":"content_filter","message":{"role":"assistant","content":""}}]})"},
      {"deepseek", R"({"choices":[{"message":{"role":"assistant","content":"","reasoning_content":"hm"}}]})"},
      {"anthropic", R"({"type":"message","role":"assistant","content":[],"stop_reason":"refusal"})"},
      {"anthropic", R"({"type":"message","role":"assistant","content":[{"type":"thinking","thinking":"hm"}]})"},
      {"google", R"({"candidates":[{"finishReason":"SAFETY"}]})"},
      {"google", R"({"candidates":[{"content":{"role":"model"},"finishReason":"MAX_TOKENS"}]})"},
      {"ollama", R"({"message":{"role":"assistant","content":"","thinking":"hm"},"done":true})"},
      {"moonshot", R"({"choices":[]})"},
  };
  for (const auto& [provider, body] : cases) {
    enqueue(200, body);
    const ChildResult asked = run({"ask", "q", "--db", path("small.db"), "--provider", provider, "--host", url_,
                                   "--key-file", path("key"), "--model", "m"});
    EXPECT_EQ(asked.exitCode, 4) << body << asked.error;
    EXPECT_EQ(asked.output, "") << body;
  }
}

TEST_F(ConsoleProgram, SendsTheTablesThatAQuestionNeeds) {
  std::string script = "BEGIN; CREATE TABLE orders (id INTEGER PRIMARY KEY, state TEXT);";
  for (int i = 0; i < 2000; ++i) {
    const std::string name = "matter_" + std::string(1, static_cast<char>('a' + i % 26)) + std::to_string(i);
    script += "CREATE TABLE " + name + "x (id INTEGER PRIMARY KEY, first TEXT, second TEXT, third INT, fourth INT);";
  }
  createDatabase("large.db", script + "COMMIT;");
  const std::vector<std::string> all = {"--db", path("large.db"), "--provider", "openai",  "--host",
                                        url_,   "--key-file",     path("key"),  "--model", "m"};
  const auto ask = [&](std::vector<std::string> more, const std::string& input = "") {
    more.insert(more.end(), all.begin(), all.end());
    const ChildResult result = run(more, input);
    EXPECT_EQ(result.exitCode, 0) << result.error;
    return result;
  };

  const ChildResult chat = ask({"chat"}, "Which orders are open?\n/schema\n");
  EXPECT_EQ(chat.error.substr(0, 7), "orders\n") << chat.error;
  ask({"ask", "q", "--tables", "ord*"});
  ask({"ask", "q", "--budget", "0"});

  const auto requests = standin_.requests();
  ASSERT_EQ(requests.size(), 3U);
  EXPECT_LT(requests[0].body.size(), 40000U);
  EXPECT_NE(requests[0].body.find("CREATE TABLE `orders` (`id` INTEGER, `state` TEXT"), std::string::npos);
  EXPECT_EQ(requests[1].body.find("matter_"), std::string::npos);
  EXPECT_GT(requests[2].body.size(), 200000U);
}

TEST_F(ConsoleProgram, TravelsAsOptionsAndTheEnvironmentSay) {
  createDatabase("small.db", "CREATE TABLE notes (id INTEGER PRIMARY KEY)");
  const std::string closed = standin::Server().url();
  const auto ask = [&](std::vector<std::string> more, const std::vector<std::string>& environment = {}) {
    const std::vector<std::string> all = {"ask",    "q",          "--db",      path("small.db"), "--provider",
                                          "openai", "--key-file", path("key"), "--model",        "m"};
    more.insert(more.begin(), all.begin(), all.end());
    return run(more, "", environment);
  };
  const std::string far = "http://db.example.invalid";

  // The stand-in answers whatever it is sent, also as a proxy.
  const auto answersSoFar = [this] { return standin_.requests().size(); };
  ask({"--host", far, "--proxy", url_});
  EXPECT_EQ(answersSoFar(), 1U);
  ask({"--host", far}, {"HTTPS_PROXY=" + url_});
  EXPECT_EQ(answersSoFar(), 2U);
  EXPECT_EQ(ask({"--host", far, "--no-proxy", "*"}, {"ALL_PROXY=" + url_}).exitCode, 3);
  EXPECT_EQ(answersSoFar(), 2U);
  EXPECT_EQ(ask({"--host", url_}, {"ALL_PROXY=" + closed}).exitCode, 0) << "this machine is reached directly";
  EXPECT_EQ(ask({"--host", url_, "--proxy", "http://me:secret@p"}).error,
            "A proxy's password is no argument: put that proxy into HTTPS_PROXY.\n");
  EXPECT_EQ(ask({"--host", "https://localhost:1", "--ca-file", path("none")}).exitCode, 3);
  standin::Reply slow{200, "{}"};
  slow.delay = std::chrono::minutes(10);
  standin_.enqueue(slow);
  EXPECT_NE(ask({"--host", url_, "--timeout", "1"}).error.find("time"), std::string::npos);
}

TEST_F(ConsoleProgram, KeepsAConversationForTheNextChat) {
  createDatabase("small.db", "CREATE TABLE notes (id INTEGER PRIMARY KEY)");
  const auto chat = [&](const std::string& option, const std::string& input) {
    return run({"chat", "--db", path("small.db"), "--provider", "openai", "--host", url_, "--key-file", path("key"),
                "--model", "m", option},
               input, {"XDG_DATA_HOME=" + path("data")});
  };
  for (const char* const answer : {"First.", "Second.", "Third.", "Fourth."}) enqueue(200, openAiAnswer(answer));
  chat("--raw", "not kept\n");
  chat("--keep", "one\n");
  const ChildResult second = chat("--continue", "two\n/new\nthree\n");

  EXPECT_NE(second.error.find("1 answers so far."), std::string::npos) << second.error;
  const auto requests = standin_.requests();
  ASSERT_EQ(requests.size(), 4U);
  EXPECT_NE(
      requests[2].body.find(R"("one"},{"role":"assistant","content":"Second."},{"role":"user","content":"two"}])"),
      std::string::npos)
      << requests[2].body;
  EXPECT_EQ(requests[2].body.find("not kept"), std::string::npos);
  EXPECT_EQ(requests[3].body.find("Third."), std::string::npos) << requests[3].body;
  const auto mode = std::filesystem::status(path("data/zea/conversations.db")).permissions();
  EXPECT_EQ(mode, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(ConsoleProgram, TellsWhatAServerSaysInALine) {
  const std::string page = "<!DOCTYPE html>\n<html><head><title>502\n Bad Gateway</title></head><body>x</body></html>";
  const struct {
    int status;
    std::string body;
    std::string line;
  } cases[] = {
      {502, page, "502 Bad Gateway\n"},
      {503, "<html><body>Busy</body></html>", "HTTP 503: a page instead of an answer\n"},
      {429, R"({"error":{"message":"Too\nfast."}})",
       "HTTP 429: Too fast. (OPENAI, with the key from the file of --key-file.)\n"},
      {401, R"({"error":{"message":"No."}})",
       "HTTP 401: No. (OPENAI does not take the key from the file of --key-file.)\n"},
      {500, R"({"error":{"message":")" + std::string(1000, 'x') + R"("}})",
       "HTTP 500: " + std::string(400, 'x') + " ... (--raw shows all)\n"},
  };
  for (const auto& row : cases) {
    enqueue(row.status, row.body);
    EXPECT_EQ(talk({"ask", "q"}).error, row.line);
  }
  enqueue(502, page);
  EXPECT_EQ(talk({"ask", "q", "--raw"}).error, page + "\n");
}

TEST_F(ConsoleProgram, MasksAKeyThatTheProviderRepeats) {
  enqueue(401, R"({"error":{"message":"Bad key sk-secret."}})");
  const ChildResult asked = talk({"ask", "q"});
  EXPECT_EQ(asked.exitCode, 1);
  EXPECT_EQ(asked.error.find("sk-secret"), std::string::npos) << asked.error;
}

TEST_F(ConsoleProgram, GoesOnWithAConversationAfterAFailedQuestion) {
  enqueue(500, R"({"error":{"message":"Try later."}})");

  const ChildResult recovered = talk({"chat"}, "one\ntwo\n");
  enqueue(500, R"({"error":{"message":"Try later."}})");
  const ChildResult failed = talk({"chat"}, "one\n");

  EXPECT_EQ(recovered.exitCode, 0);
  EXPECT_EQ(recovered.error, "HTTP 500: Try later.\n");
  EXPECT_NE(recovered.output.find("no earlier turns"), std::string::npos) << recovered.output;
  EXPECT_EQ(failed.exitCode, 1);
}

TEST_F(ConsoleProgram, TellsARefusalFromANetworkThatFails) {
  const struct {
    standin::Reply reply;
    int exitCode;
    const char* sentence;
  } cases[] = {
      {{401, R"({"error":{"message":"Bad key."}})"},
       1,
       "HTTP 401: Bad key. (OPENAI does not take the key from the file of --key-file.)\n"},
      {{200, "hello"}, 1, "Invalid response: p/v1/chat/completions\n"},
      {{200, "{}"}, 1, "Unsupported data format: p/v1/chat/completions\n"},
      {{200, "{}", {}, {}, std::nullopt, true}, 3, "\n"},
      {{200, R"({"choices":[]})", {}, {}, 5}, 3, "\n"},
  };
  for (const auto& row : cases) {
    standin_.enqueue(row.reply);

    const ChildResult asked = talk({"ask", "q"});

    EXPECT_EQ(asked.exitCode, row.exitCode) << asked.error;
    EXPECT_NE(asked.error.find(row.sentence), std::string::npos) << asked.error;
    EXPECT_EQ(asked.output, "");
  }
}

TEST_F(ConsoleProgram, TellsThatAPortIsClosed) {
  url_ = standin::Server().url();

  const ChildResult asked = talk({"ask", "q"});

  EXPECT_EQ(asked.exitCode, 3);
}

TEST_F(ConsoleProgram, AsksAndListsWithEachProvider) {
  createDatabase("small.db", "CREATE TABLE notes (id INTEGER PRIMARY KEY, text TEXT)");
  constexpr const char* newestFirst = "standin-large\nstandin-small\n";
  constexpr const char* asTheyCome = "standin-small\nstandin-large\n";
  const struct {
    const char *provider, *key, *models;
  } cases[] = {
      {"openai", "OPENAI_API_KEY=k", newestFirst},     {"google", "GOOGLE_API_KEY=k", asTheyCome},
      {"deepseek", "DEEPSEEK_API_KEY=k", asTheyCome},  {"ollama", "NONE=k", asTheyCome},
      {"x", "XAI_API_KEY=xai-k", newestFirst},         {"anthropic", "ANTHROPIC_API_KEY=k", newestFirst},
      {"alibaba", "DASHSCOPE_API_KEY=k", newestFirst}, {"bytedance", "ARK_API_KEY=k", ""},
      {"moonshot", "MOONSHOT_API_KEY=k", newestFirst},
  };
  std::string known = "Known are";
  for (const auto& row : cases) {
    const std::size_t asks = standin_.requests().size();
    known += std::string(&row == cases ? " " : ", ") + row.provider;
    const ChildResult asked = run({"ask", "--db", path("small.db"), "--provider", row.provider, "--host", url_,
                                   "--model", "m", "--temperature", "0.5", "Notes?"},
                                  "", {row.key});
    const ChildResult listed = run({"models", "--provider", row.provider, "--host", url_}, "", {row.key});

    EXPECT_EQ(asked.exitCode, 0) << row.provider << ": " << asked.error;
    EXPECT_NE(asked.output.find("SELECT notes.id"), std::string::npos) << row.provider << ": " << asked.output;
    const bool hasLimit = standin_.requests()[asks].body.find(R"("max_tokens":8192)") != std::string::npos;
    EXPECT_EQ(hasLimit, std::string(row.provider) == "anthropic");
    EXPECT_EQ(listed.exitCode, 0) << row.provider << ": " << listed.error;
    EXPECT_EQ(listed.output, row.models) << row.provider;
    EXPECT_EQ(listed.error.empty(), *row.models != '\0') << row.provider << ": " << listed.error;
  }
  EXPECT_NE(run({"models", "--provider", "acme"}).error.find(known + "."), std::string::npos) << "each has a row";
}

TEST_F(ConsoleProgram, CarriesTheConversationToAnotherProvider) {
  createDatabase("small.db", "CREATE TABLE notes (id INTEGER PRIMARY KEY)");
  const std::string input = "one\n/provider acme\n/provider google\n/provider x m\ntwo\n/provider google g " + url_ +
                            "\nthree\n/provider anthropic\nfour\n";

  const ChildResult chat =
      run({"chat", "--db", path("small.db"), "--provider", "anthropic", "--max-tokens", "77", "--model", "a",
           "--temperature", "1.5", "--instructions", "Be brief.", "--host", url_, "--key-file", path("key")},
          input, {"GEMINI_API_KEY=g-secret", "ANTHROPIC_API_KEY=a-secret"});

  EXPECT_EQ(chat.exitCode, 0) << chat.error;
  for (const char* sentence : {"no provider acme", "Name a model with /provider google MODEL", "XAI_API_KEY"}) {
    EXPECT_NE(chat.error.find(sentence), std::string::npos) << sentence << " is not in " << chat.error;
  }
  const auto requests = standin_.requests();
  ASSERT_EQ(requests.size(), 4U) << chat.error;
  EXPECT_EQ(requests[1].header("x-api-key"), "sk-secret");
  EXPECT_EQ(requests[1].body.rfind(R"({"model":"a","temperature":1.0,"max_tokens":77,"system":"Be brief.)", 0), 0U);
  EXPECT_EQ(requests[2].target, "/v1beta/models/g:generateContent?key=g-secret");
  EXPECT_EQ(requests[2].body.rfind(R"({"generationConfig":{"temperature":1.5},"system_instruction":)", 0), 0U);
  for (const char* part : {"Be brief.", "CREATE TABLE `notes`", R"([{"role":"user","parts":[{"text":"one"}]})"}) {
    EXPECT_NE(requests[2].body.find(part), std::string::npos) << part << " is not in " << requests[2].body;
  }
  EXPECT_EQ(requests[3].header("x-api-key"), "sk-secret") << "the key that was given is known";
  EXPECT_EQ(requests[3].body.rfind(R"({"model":"a","temperature":1.0,"max_tokens":77,)", 0), 0U);
  EXPECT_NE(chat.output.rfind("came 6 earlier turns"), std::string::npos) << chat.output;
}

TEST_F(ConsoleProgram, TellsInASentenceWhatItCannotUse) {
  createDatabase("good.db", "CREATE TABLE t (a)");
  createDatabase("empty.db", "CREATE TABLE t (a); DROP TABLE t");
  write("text", std::string(2000, 'x'));
  write("blank", "\n");
  write("long", std::string(5'000'000, 'k'));
  ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
  const std::string good = path("good.db");
  const struct {
    std::vector<std::string> arguments;
    const char* sentence;
  } cases[] = {
      {{}, "A subcommand is required"},
      {{"ask", "q"}, "--db is required"},
      {{"ask", "--db", path("none.db"), "q"}, "There is no file"},
      {{"ask", "--db", path(""), "q"}, "is a directory"},
      {{"ask", "--db", path("text"), "q"}, "is not an SQLite database."},
      {{"ask", "--db", path("empty.db"), "q"}, "has no tables or views"},
      {{"ask", "--db", good, "q", "--provider", "acme"}, "There is no provider acme."},
      {{"ask", "--db", "postgresql://me:sk-secret@h/d", "q"}, "A password is no argument"},
      {{"ask", "--db", "mysql://me@h/d?password=sk-secret", "q"}, "A password is no argument"},
      {{"ask", "--db", "mysql://h:port/d", "q"}, "The port of the database is no number."},
      {{"ask", "--db", "mysql:///d?socket=%2Fnone%2Fs", "q"}, "/none/s"},
      {{"ask", "--db", "postgresql://me@localhost:1,localhost:2/d", "q"}, "The database cannot be opened"},
      {{"ask", "--db", "postgresql:///d?host=/none", "q"}, "The database cannot be opened"},
      {{"ask", "--db", good, "q", "--colour"}, "There is no option --colour here."},
      {{"ask", "--db", good, "q", "--temperature", "warm"}, "--temperature"},
      {{"ask", "--db", good, "q", "--temperature", "nan"}, "no number"},
      {{"ask", "--db", good, "q", "--host", "", "--provider", "x"}, "--host: the value is empty"},
      {{"ask", "--db", good, "q", "--temperature", ""}, "--temperature: the value is empty"},
      {{"ask", "--db", good, "q", "--temperature", "2.1"}, "--temperature: Value 2.1 not in range"},
      {{"ask", "--db", good, "q", "--host", "ftp://h", "--provider", "x"}, "begins with http:// or https://"},
      {{"ask", "--db", good, "q", "--provider", "ollama"}, "zea models --provider ollama"},
      {{"ask", "--db", good, "-"}, "The question is empty."},
      {{"ask", "--db", good, "q", "--csv", "--json"}, "--csv excludes --json"},
      {{"mdoels"}, "did you mean zea models?"},
      {{"sk-secret"}, "There is no such command; there are ask, chat"},
      {{"ask", "--db", good, "q", "--provider", ""}, "--provider: the value is empty"},
      {{"ask", "--db", good, "q", "--sql", "--run"}, "--sql excludes --run"},
      {{"ask", "--db", good, "q", "--host", "h"}, "--host needs a --provider."},
      {{"ask", "--db", good, "q", "--max-tokens", "9"}, "--max-tokens is for --provider anthropic only."},
      {{"ask", "--db", good, "q", "--max-tokens", "9", "--provider", "x"}, "--max-tokens is for"},
      {{"ask", "--db", good, "q", "--provider", "x"}, "zea models --provider x"},
      {{"ask", "--db", good, "q", "--provider", "x", "--model", "m"}, "XAI_API_KEY"},
      {{"models", "--provider", "x", "--key-file", path("none")}, "cannot be read"},
      {{"models", "--provider", "x", "--key-file", path("blank")}, "no key in its first line"},
      {{"models", "--provider", "x", "--key-file", path("long")}, "than a key is long"},
      {{"models", "--provider", "x", "--key-file", path("pipe")}, "no key in its first line"},
      {{"ask", "--db", good, "q", "--key=sk-secret"}, "There is no option --key here."},
      {{"ask", "--db", good, "q", "--api-key", "sk-secret"}, "There is no option --api-key here."},
      {{"models", "sk-secret"}, "an argument too many"},
      {{"ask", "--db", good, "q", "-ksk-secret"}, "an argument too many"},
      {{"models", "--provider", "x", "--key-file", "sk-secret"}, "cannot be read"},
  };
  for (const auto& row : cases) {
    const ChildResult result = run(row.arguments);

    EXPECT_EQ(result.exitCode, 2) << row.sentence;
    EXPECT_NE(result.error.find(row.sentence), std::string::npos) << row.sentence << ": " << result.error;
    EXPECT_EQ(result.output, "") << row.sentence;
    EXPECT_EQ(result.error.find("sk-secret"), std::string::npos) << result.error;
  }
}

}  // namespace
