// SPDX-License-Identifier: Apache-2.0
// What a question gets of a structure, what it weighs, and what is never shown.
#include <gtest/gtest.h>
#include <zea/zea.h>

#include <algorithm>
#include <thread>

#include "support/providers.h"
#include "zeakit/disclosure.h"
#include "zeakit/focused_memory.h"
#include "zeakit/prompt_account.h"
#include "zeakit/structure_index.h"
#include "zeakit/token_estimate.h"

using namespace zeakit;

namespace {

std::string table(const std::string& name, const std::string& columns, const std::string& more = "") {
  std::string fields;
  for (std::size_t at = 0; at < columns.size();) {
    const std::size_t end = std::min(columns.find(' ', at), columns.size());
    fields += (at > 0 ? R"(,{"name":")" : R"({"name":")") + columns.substr(at, end - at) + R"(","type":"int"})";
    at = end + 1;
  }
  return R"({"name":")" + name + R"(","fields":[)" + fields + "]" + more + "}";
}

std::string key(const std::string& column, const std::string& target) {
  return R"(,"pkeys":["id"],"fkeys":[{"fields":[")" + column + R"("],"ref_table":")" + target +
         R"(","ref_fields":["id"]}])";
}

std::string document(const std::vector<std::string>& tables) {
  std::string all;
  for (const std::string& text : tables) all += (all.empty() ? "" : ",") + text;
  return R"([{"catalog_name":"c","schemas":[{"schema_name":"s","tables":[)" + all + "]}]}]";
}

/// 300 tables about other things, and a few about what is asked for.
std::vector<std::string> manyTables() {
  std::vector<std::string> tables;
  for (int i = 0; i < 300; ++i) {
    const std::string letters = {static_cast<char>('a' + i % 26), static_cast<char>('a' + i / 26)};
    tables.push_back(table("matter_" + letters + "zz", "id q" + letters + " v" + letters));
  }
  tables.push_back(table("cust", "id firstname email balance"));
  tables.push_back(table("SalesOrders", "id cust_id orderDate qty", key("cust_id", "cust")));
  tables.push_back(table("order_line", "id order_id itemKey", key("order_id", "SalesOrders")));
  for (int year = 2001; year < 2031; ++year) {
    tables.push_back(table("metering_" + std::to_string(year), "id reading meter"));
  }
  return tables;
}

std::string depths(const Fit& fit, const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    const auto found =
        std::find_if(fit.tables.begin(), fit.tables.end(), [&](const auto& t) { return t.name == name; });
    text += found == fit.tables.end() ? '-' : "wsn"[static_cast<int>(found->depth)];
  }
  return text;
}

std::string promptOf(const std::string& text) {
  const auto assistant = newAssistant(ZEAAssistantType::OPENAI_v1, "k", "");
  set(*assistant, "db_structure", text);
  return get(*assistant, "combined_instructions").stringValue();
}

}  // namespace

TEST(StructureIndex, GivesTheTablesThatTheQuestionSpeaksOf) {
  const StructureIndex index(document(manyTables()));
  ASSERT_EQ(index.size(), 333u);
  FitOptions options;
  options.budget = 400;
  struct {
    const char* question;
    std::vector<std::string> tables;
  } const kCases[] = {{"Which customers have ordered?", {"s.cust", "s.SalesOrders"}},  // abbreviation, stem, capitals
                      {"quantity by first name", {"s.SalesOrders", "s.cust"}},         // joined words, letters left out
                      {"the lines of an order with its items", {"s.order_line", "s.SalesOrders"}},  // part of a name
                      {"meter readings of 2014", {"s.metering_2014"}},                              // one of a family
                      {"client emails", {"s.cust"}},  // another word for it
                      {"vcf?", {"s.matter_cfzz"}}};
  for (const auto& row : kCases) {
    const Fit fit = index.fit(row.question, options);
    EXPECT_LE(fit.tokens, options.budget);
    for (const std::string& name : row.tables)
      EXPECT_NE(depths(fit, {name}).find_first_of("ws"), std::string::npos) << name;
    EXPECT_EQ(fit.document, index.fit(row.question, options).document);
  }
  const Fit family = index.fit("meter readings of 2014", options);
  EXPECT_EQ(
      std::count_if(family.tables.begin(), family.tables.end(),
                    [](const auto& t) { return t.name.find("metering") != t.name.npos && t.depth != FitDepth::Named; }),
      1);
}

TEST(StructureIndex, FitsReachTheModelAsTheWholeDocumentsStatements) {
  const std::string whole = promptOf(document(manyTables()));
  const StructureIndex index(document(manyTables()));
  FitOptions options;
  options.budget = 500;
  const Fit fit = index.fit("orders of customers", options);
  const std::string prompt = promptOf(fit.document);
  std::size_t at = 0;
  std::size_t seen = 0;
  for (const FittedTable& fitted : fit.tables) {
    if (fitted.depth != FitDepth::Whole) continue;
    const std::size_t begin = whole.find("CREATE TABLE `s`.`" + fitted.name.substr(2) + "`");
    const std::string statement = whole.substr(begin, whole.find('\n', begin) + 1 - begin);
    at = prompt.find(statement, at);  // in the order of the document
    ASSERT_NE(at, std::string::npos) << statement;
    ++seen;
  }
  EXPECT_GT(seen, 2u);
  EXPECT_GE(fit.tokens + 5, estimateTokens(prompt));
  options.budget = 1000000;
  EXPECT_EQ(promptOf(index.fit("", options).document), whole);
}

TEST(StructureIndex, KeepsWhatIsPinnedAndSaysWhatItCannotKeep) {
  const StructureIndex index(document(manyTables()));
  FitOptions options;
  options.budget = 60;
  options.pinned = {"MATTER_a[a-z]zz", "matter_abzz", "order_*"};
  EXPECT_EQ(depths(index.fit("customers", options), {"s.matter_abzz", "s.order_line"}), "ws");
  options.budget = 14;
  const Fit tight = index.fit("customers", options);
  EXPECT_EQ(tight.tables.size() + tight.notes.size(), 2u);
  ASSERT_FALSE(tight.notes.empty());
  EXPECT_EQ(tight.notes.back().substr(0, 27), "The budget has no room for ");
  options.budget = 0;
  EXPECT_EQ(index.fit("customers", options).document, "[]");
  options = {};
  options.scope = {"s.cust"};
  EXPECT_EQ(depths(index.fit("orders", options), {"s.cust", "s.SalesOrders"}), "w-");
}

TEST(StructureIndex, TakesAnyDocumentAndAnyQuestion) {
  EXPECT_EQ(StructureIndex("{").error(), "The structure document is no JSON array.");
  const std::string odd =
      R"([7,{"schemas":[{"tables":[{"name":"a\u0000`","fields":[{"name":"x","type":"t"}],"fkeys":[{"fields":["x"],)"
      R"("ref_table":"gone","ref_fields":["y"]},{"fields":["x"],"ref_table":"a\u0000`","ref_fields":["x"]}]},)"
      R"({"name":"rejected","fields":[{"name":"x"}]},{"name":"empty","fields":[],"pkeys":[7]}],"views":[]},8]}])";
  const StructureIndex index(odd);
  EXPECT_EQ(index.size(), 2u);
  std::string expected =
      "CREATE TABLE `a#`` (`x` t, FOREIGN KEY(`x`) REFERENCES `gone`(`y`), FOREIGN KEY(`x`) REFERENCES `a#``(`x`))\n"
      "CREATE TABLE `empty` ()\n\n";
  for (char& byte : expected) byte = byte == '#' ? '\0' : byte;
  for (const std::string& question : {std::string(), std::string("?!,;"), std::string("每个客户的订单数"),
                                      std::string("\xff\0\xc3", 3), std::string(1 << 20, 'x')}) {
    EXPECT_EQ(promptOf(index.fit(question).document), expected);
  }
}

TEST(StructureIndex, ServesManyThreads) {
  const StructureIndex index(document(manyTables()));
  FitOptions options;
  options.budget = 300;
  const std::string expected = index.fit("orders of customers", options).document;
  std::vector<std::thread> threads;
  std::array<bool, 4> isSame{};
  for (bool& same : isSame) {
    threads.emplace_back([&] { same = index.fit("orders of customers", options).document == expected; });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::count(isSame.begin(), isSame.end(), true), 4);
}

TEST(FocusedMemory, HandsOutWhatTheQuestionNeedsAndKeepsTheConversation) {
  Conversation conversation(kProviders[0]);
  IZEAAssistantMemory* const own = conversation.assistant->releaseMemory();
  own->setStructureDocument(document(manyTables()));
  FitOptions options;
  options.budget = 250;
  FocusedMemory memory(*own, options);
  EXPECT_EQ(memory.obtainStructureDocument(), own->obtainStructureDocument());
  const auto ask = [&](const std::string& question) {
    memory.focus(question);
    EXPECT_EQ(conversation.askWell(question), "fine");
    return conversation.lastBody();
  };
  conversation.assistant->setMemory(&memory);
  EXPECT_EQ(ask("email of each customer").find("metering_2014"), std::string::npos);
  const std::string second = ask("meter readings of 2014");
  EXPECT_NE(second.find("metering_2014"), std::string::npos);
  EXPECT_NE(second.find("`cust`"), std::string::npos) << "the last question's table stays";
  EXPECT_EQ(own->obtainEntries(20).size(), 4u);
  memory.setStructureDocument(document({table("alone", "id")}));
  EXPECT_EQ(memory.focus("customers").tables.size(), 1u);
  conversation.assistant.reset();
  ZEAFreeObject(own);
}

TEST(Tokens, AreEstimatedForAnyBytes) {
  struct {
    std::string text;
    std::size_t least, most;
  } const kCases[] = {{"", 0, 0},
                      {"How many customers are there?", 6, 7},
                      {"CREATE TABLE `shop`.`orders` (`id` int, `cust_id` int)", 19, 25},
                      {std::string(1 << 20, 'a'), 200000, 400000},
                      {std::string(1 << 16, '='), 10000, 20000},
                      {std::string("\xff\xc3\x28\xe2\x82\0", 6), 4, 7},
                      {"客户的订单", 4, 6}};
  for (const auto& row : kCases) {
    const std::size_t tokens = estimateTokens(row.text);
    EXPECT_TRUE(tokens >= row.least && tokens <= row.most) << row.text.substr(0, 60) << " " << tokens;
    EXPECT_LE(estimateTokens(row.text + " and " + row.text), 2 * tokens + 3);
  }
  const std::string structure = document({table("orders", "id cust")});
  const PromptAccount account = accountPrompt({"Answer briefly."}, structure, {{0, "a b"}, {1, "c"}}, "d");
  EXPECT_EQ(account.instructions, estimateTokens("Answer briefly."));
  EXPECT_NEAR(static_cast<double>(account.structure), static_cast<double>(estimateTokens(promptOf(structure))), 3);
  EXPECT_EQ(account.turns, 10 + estimateTokens("a b") + estimateTokens("c"));
  EXPECT_EQ(account.total(), account.instructions + account.structure + account.turns + 5 + estimateTokens("d"));
  EXPECT_EQ(accountPrompt({}, "{", {}, "").total(), 5u);
}

TEST(Disclosure, ShowsNothingOfWhatIsHidden) {
  // Tables, columns, keys to both, texts that mention them.
  std::vector<std::string> tables;
  Disclosure policy;
  for (int i = 0; i < 100; ++i) {
    const std::string n = std::to_string(i + 100);
    tables.push_back(table("marker_t" + n, "id inner" + n));
    std::string open =
        R"x({"name":"open#","fields":[{"name":"id","type":"int"},{"name":"t","type":"int"},{"name":"marker_c#",)x"
        R"x("type":"int"},{"name":"e","type":"int CHECK (e < MARKER_C#)"},{"name":"f","type":"marker_t#"}],)x"
        R"x("pkeys":["id","marker_c#"],"fkeys":[{"fields":["t"],"ref_table":"marker_t#","ref_fields":["id"]}]})x";
    for (std::size_t at = open.find('#'); at != open.npos; at = open.find('#')) open.replace(at, 1, n);
    tables.push_back(open);
    policy.hiddenTables.push_back("s.marker_t" + n);
    policy.hiddenColumns.push_back(i % 2 == 0 ? "marker_c" + n : "open" + n + ".marker_c*");
  }
  const BuiltStructure shown =
      policy.apply({document(tables), {{"views", "one\nSELECT marker_c142\nthree"}}, {"note"}});
  Conversation conversation(kProviders[0]);
  set(*conversation.assistant, "db_structure", shown.document);
  EXPECT_EQ(conversation.askWell("q"), "fine");
  const standin::Request request = conversation.server.requests().back();
  std::string sent = request.target + request.body;
  for (const auto& [name, value] : request.headers) sent += name + value;
  EXPECT_EQ(sent.find("marker"), std::string::npos);
  EXPECT_EQ(sent.find("MARKER"), std::string::npos);
  EXPECT_NE(sent.find("CREATE TABLE `s`.`open142` (`id` int, `t` int, `e` int, `f` )"), std::string::npos) << sent;
  EXPECT_EQ(shown.instructions[0].second, "one\nthree");
  EXPECT_EQ(policy.apply(std::string("{")), "[]");
}

TEST(Disclosure, SaysWhichHostsMayBeAsked) {
  Disclosure local;
  local.mayLeaveMachine = false;
  Disclosure listed;
  listed.allowedHosts = {"*.example.com", "localhost"};
  struct {
    const char* host;
    bool isLocal, isListed;
  } const kCases[] = {{"localhost:11434", true, true},
                      {"http://LOCALHOST/v1", true, true},
                      {"127.1.2.3:80", true, false},
                      {"[::1]:8080", true, false},
                      {"https://api.example.com:443/v1/chat", false, true},
                      {"127.0.0.1.example.com", false, true},
                      {"127.0.0.1.", false, false},
                      {"api.example.com.evil.net", false, false},
                      {"localhost@evil.net", false, false},
                      {"http://localhost:80@evil.net/", false, false},
                      {"localhost\\@evil.net", false, false},
                      {"localhost#.example.com", false, false},
                      {"", false, false}};
  for (const auto& row : kCases) {
    EXPECT_EQ(local.refusalOf(row.host).empty(), row.isLocal) << row.host;
    EXPECT_EQ(listed.refusalOf(row.host).empty(), row.isListed) << row.host;
  }
}
