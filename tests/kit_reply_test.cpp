// SPDX-License-Identifier: Apache-2.0
// The parts of replies as models write them.
#include <gtest/gtest.h>

#include "support/providers.h"
#include "zeakit/reply_parts.h"
#include "zeakit/window_memory.h"

using namespace zeakit;

namespace {

/// "t" for text, "s" for SQL, "c" for other code, "k" for thinking; the language, and the content in brackets.
std::string shown(const std::string& reply) {
  std::string text;
  std::string_view last = std::string_view(reply).substr(0, 0);
  for (const ReplyPart& part : replyParts(reply)) {
    EXPECT_TRUE(last.data() + last.size() <= part.text.data()) << "in order: " << reply;
    EXPECT_TRUE(part.text.data() + part.text.size() <= reply.data() + reply.size());
    last = part.text;
    std::string content = part.content();
    content.erase(0, content.find_first_not_of(" \r\n"));
    content.erase(content.find_last_not_of(" \r\n") + 1);
    text += "tsck"[static_cast<int>(part.kind)] + std::string(part.language) + "[" + content + "]";
  }
  return text;
}

constexpr struct {
  const char* reply;
  const char* parts;
} kReplies[] = {
    // Without code.
    {"", ""},
    {" \n\t\n", ""},
    {"There are 12 orders.", "t[There are 12 orders.]"},
    {"Use `SELECT 1` for that.", "t[Use `SELECT 1` for that.]"},
    {"Select the orders from the list, then delete them.", "t[Select the orders from the list, then delete them.]"},
    {"With this query you see all orders:\n\nCreate a table first.",
     "t[With this query you see all orders:\n\nCreate a table first.]"},
    {"SELECT reads rows from a table.", "t[SELECT reads rows from a table.]"},
    {"| id | name |\n|---|---|\n| 1 | a |", "t[| id | name |\n|---|---|\n| 1 | a |]"},
    // A fence.
    {"```sql\nSELECT 1\n```", "ssql[SELECT 1]"},
    {"Here:\n\n```sql\nSELECT 1;\n```\n\nThat is all.", "t[Here:]ssql[SELECT 1;]t[That is all.]"},
    {"Here:\n```sql\nSELECT a\nFROM b\n```", "t[Here:]ssql[SELECT a\nFROM b]"},
    {"```SQL\nSELECT 1\n```", "sSQL[SELECT 1]"},
    {"```postgresql\nSELECT 1\n```", "spostgresql[SELECT 1]"},
    {"```mysql\nSELECT 1\n```", "smysql[SELECT 1]"},
    {"```sqlite\nSELECT 1\n```", "ssqlite[SELECT 1]"},
    {"```sql title=\"a\"\nSELECT 1\n```", "ssql[SELECT 1]"},
    {"```sql{1,3}\nSELECT 1\n```", "ssql[SELECT 1]"},
    {"``` sql\nSELECT 1\n```", "ssql[SELECT 1]"},
    {"~~~sql\nSELECT 1\n~~~", "ssql[SELECT 1]"},
    {"````sql\nSELECT '```'\n````", "ssql[SELECT '```']"},
    {"```sql\r\nSELECT a\r\nFROM b\r\n```\r\nDone.", "ssql[SELECT a\r\nFROM b]t[Done.]"},
    {"```sql\rSELECT a\rFROM b\r```\rDone.", "ssql[SELECT a\rFROM b]t[Done.]"},
    {"```sql\n\n\nSELECT a\n\n\nFROM b\n\n```", "ssql[SELECT a\n\n\nFROM b]"},
    {"```sql\n-- all of them\nSELECT 1\n```", "ssql[-- all of them\nSELECT 1]"},
    {"```sql\nSELECT 'é', '日'\n```", "ssql[SELECT 'é', '日']"},
    // Fences without a language.
    {"```\nSELECT a FROM b\n```", "s[SELECT a FROM b]"},
    {"```\nselect a from b\n```", "s[select a from b]"},
    {"```\n-- first\n/* then */ WITH x AS (SELECT 1) SELECT * FROM x\n```",
     "s[-- first\n/* then */ WITH x AS (SELECT 1) SELECT * FROM x]"},
    {"```\norders(id, state)\n```", "c[orders(id, state)]"},
    {"```\n$ psql -c 'SELECT 1'\n```", "c[$ psql -c 'SELECT 1']"},
    // Other languages.
    {"```bash\npsql -f a.sql\n```", "cbash[psql -f a.sql]"},
    {"```json\n{\"a\": 1}\n```\n```sql\nSELECT 1\n```", "cjson[{\"a\": 1}]ssql[SELECT 1]"},
    {"```python\nrun(\"SELECT 1\")\n```\nor\n```sql\nSELECT 1\n```", "cpython[run(\"SELECT 1\")]t[or]ssql[SELECT 1]"},
    {"```text\nid | n\n```", "ctext[id | n]"},
    // Several.
    {"First:\n```sql\nSELECT 1\n```\nthen:\n```sql\nSELECT 2\n```", "t[First:]ssql[SELECT 1]t[then:]ssql[SELECT 2]"},
    {"```sql\nSELECT 1\n```\n```sql\nSELECT 2\n```", "ssql[SELECT 1]ssql[SELECT 2]"},
    {"```sql\n```\n```sql\nSELECT 2\n```", "ssql[SELECT 2]"},
    {"a\n```\n```\nb", "t[a]t[b]"},
    // Never closed, or closed by something else.
    {"Here:\n```sql\nSELECT a\nFROM b", "t[Here:]ssql[SELECT a\nFROM b]"},
    {"```sql\nSELECT 1\n``", "ssql[SELECT 1\n``]"},
    {"```sql\nSELECT 1\n~~~\n", "ssql[SELECT 1\n~~~]"},
    {"```sql\nSELECT 1\n````\nDone.", "ssql[SELECT 1]t[Done.]"},
    {"```sql", ""},
    {"Text\n```", "t[Text]"},
    // Nested.
    {"1. First:\n   ```sql\n   SELECT a\n   FROM b\n   ```\n2. Then look.",
     "t[1. First:]ssql[SELECT a\nFROM b]t[2. Then look.]"},
    {"1. First:\n\n   ```sql\n   SELECT a\n     FROM b\n   ```", "t[1. First:]ssql[SELECT a\n  FROM b]"},
    {"- a\n    - b:\n      ```sql\n      SELECT 1\n      ```\n- c", "t[- a\n    - b:]ssql[SELECT 1]t[- c]"},
    {"- ```sql\n  SELECT 1\n  ```", "ssql[SELECT 1]"},
    {"> Quoted:\n> ```sql\n> SELECT a\n> FROM b\n> ```\nDone.", "t[> Quoted:]ssql[SELECT a\nFROM b]t[Done.]"},
    {"> ```sql\n> SELECT a\n\nDone.", "ssql[SELECT a]t[Done.]"},
    {"- a:\n  ```sql\n  SELECT 1\n\nDone.", "t[- a:]ssql[SELECT 1]t[Done.]"},
    {"      ```sql\n      SELECT 1\n      ```", "ssql[SELECT 1]"},
    {"**Query**\n```sql\nSELECT 1\n```\n### Notes\n* fast", "t[**Query**]ssql[SELECT 1]t[### Notes\n* fast]"},
    {"<details>\n```sql\nSELECT 1\n```\n</details>", "t[<details>]ssql[SELECT 1]t[</details>]"},
    // Bare statements.
    {"SELECT id FROM orders", "s[SELECT id FROM orders]"},
    {"SELECT id FROM orders;", "s[SELECT id FROM orders;]"},
    {"select id from orders;", "s[select id from orders;]"},
    {"Here it is:\n\nSELECT id\nFROM orders\nWHERE state = 'open';\n\nIt reads the open ones.",
     "t[Here it is:]s[SELECT id\nFROM orders\nWHERE state = 'open';]t[It reads the open ones.]"},
    {"Here it is:\nSELECT id\nFROM orders;\nIt reads all.", "t[Here it is:\nSELECT id\nFROM orders;\nIt reads all.]"},
    {"WITH x AS (\n  SELECT 1\n)\nSELECT * FROM x", "s[WITH x AS (\n  SELECT 1\n)\nSELECT * FROM x]"},
    {"    SELECT 1", "s[SELECT 1]"},
    {"SHOW TABLES", "s[SHOW TABLES]"},
    {"UPDATE a SET b = 1", "s[UPDATE a SET b = 1]"},
    {"SELECT id FROM a\n```sql\nSELECT 1\n```", "t[SELECT id FROM a]ssql[SELECT 1]"},
    // Thinking.
    {"<think>\nSELECT wrong FROM x\n</think>\n```sql\nSELECT 1\n```", "k[SELECT wrong FROM x]ssql[SELECT 1]"},
    {"<think>```sql\nSELECT wrong\n</think>The answer is 3.", "k[```sql\nSELECT wrong]t[The answer is 3.]"},
    {"<thinking>a</thinking>b", "k[a]t[b]"},
    {"<Reasoning>a</Reasoning>\nSELECT 1", "k[a]s[SELECT 1]"},
    {"<think>\n\n</think>\n\nYes.", "t[Yes.]"},
    {"Hmm, SELECT wrong.\n</think>\n\nYes.", "k[Hmm, SELECT wrong.]t[Yes.]"},
    {"<think>never closed\n```sql\nSELECT 1\n```", "k[never closed\n```sql\nSELECT 1\n```]"},
    {"a\n<think>b</think>\nc\n<think>d</think>\ne", "t[a]k[b]t[c]k[d]t[e]"},
    {"The tag `</think>` ends it.", "t[The tag `</think>` ends it.]"},
    {"```html\n<think>\n```\nDone.", "chtml[<think>]t[Done.]"},
    {"The `<think>` tag.", "t[The `<think>` tag.]"},
};

TEST(ReplyParts, AreThoseOfRepliesAsModelsWriteThem) {
  for (const auto& row : kReplies) EXPECT_EQ(shown(row.reply), row.parts) << row.reply;
}

TEST(ReplyParts, AreFoundInAnyBytes) {
  EXPECT_EQ(shown(std::string("a\0b\n```sql\nSELECT '\0\xFF'\n```\n", 27)),
            std::string("t[a\0b]ssql[SELECT '\0\xFF']", 23));
  const std::string fences = [] {
    std::string text;
    for (int i = 0; i < 100000; ++i) text += "```\n";
    return text;
  }();
  EXPECT_TRUE(replyParts(fences).empty());
  EXPECT_EQ(replyParts(std::string_view(fences).substr(4)).size(), 0u);
  std::string tags;
  for (int i = 0; i < 100000; ++i) tags += "<think></think>\n</\n";
  EXPECT_GT(replyParts(tags).size(), 0u);
  EXPECT_EQ(firstStatement("a\n> ```\n> SELECT a\n> FROM b\n> ```"), "SELECT a\nFROM b\n");
  EXPECT_EQ(firstStatement("No."), "");
}

TEST(WindowMemory, SendsWholePairsWithAnAnswer) {
  const struct {
    WindowOptions options;
    const char* turns;
  } cases[] = {{{}, "1a2b4d5"},        {{1, 0, true}, "5"}, {{2, 0, true}, "4d5"},       {{3, 0, false}, "3 4d5"},
               {{0, 20, true}, "4d5"}, {{0, 4, true}, ""},  {{9, 0, false}, "1a2b3 4d5"}};
  Conversation conversation(kProviders[0]);
  const Owned<IZEAAssistantMemory> memory(conversation.assistant->releaseMemory());
  const std::pair<const char*, const char*> turns[] = {{"1", "a"}, {"2", "b"}, {"3", " "}, {"4", "d"}};
  memory->addEntry(ZEARoleAssistant, "stray");
  for (const auto& [question, answer] : turns) {
    memory->addEntry(ZEARoleUser, question);
    memory->addEntry(ZEARoleAssistant, answer);
  }
  memory->addEntry(ZEARoleUser, "5");
  for (const auto& row : cases) {
    WindowMemory window(*memory, row.options);
    std::string sent;
    for (const auto& entry : window.obtainEntries(20)) sent += entry.text;
    EXPECT_EQ(sent, row.turns) << row.options.pairs << ' ' << row.options.tokens;
  }

  WindowMemory window(*memory, {2, 0, true});
  conversation.assistant->setMemory(&window);
  EXPECT_EQ(conversation.askWell("6"), "fine");
  EXPECT_NE(
      conversation.lastBody().find(R"("messages":[{"role":"user","content":"4"},{"role":"assistant","content":"d"},)"
                                   R"({"role":"user","content":"5"},{"role":"user","content":"6"}])"),
      std::string::npos)
      << conversation.lastBody();
  EXPECT_EQ(memory->obtainEntries(20).size(), 12u);
}

}  // namespace
