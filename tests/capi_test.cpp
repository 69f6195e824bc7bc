// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <standin/zea_standin.h>
#include <zeac/zea_c_kit.h>

#include <cstring>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

// Of literals, and of strings that live on.
zeac_text text(std::string_view value) { return {value.data(), value.size()}; }

std::string take(zeac_string* string) {
  const zeac_text found = zeac_string_text(string);
  std::string value(found.data, found.size);
  zeac_string_free(string);
  return value;
}

zeac_assistant_options optionsFor(std::string_view url) {
  zeac_assistant_options options{};
  options.record_size = sizeof(options);
  options.key = {"k", 1};
  options.host = text(url);
  return options;
}

TEST(CInterface, RefusesWhatIsNullOrUnknown) {
  zeac_assistant* assistant = nullptr;
  zeac_string* string = nullptr;
  zeac_string* sentence = nullptr;
  zeac_assistant_options options = optionsFor("http://localhost");
  options.provider = 1000;
  EXPECT_EQ(zeac_assistant_create(&options, &assistant, &sentence), ZEAC_BAD_ARGUMENT);
  EXPECT_EQ(take(sentence), "There is no provider of that number.");
  options.record_size = 3;
  EXPECT_EQ(zeac_assistant_create(&options, &assistant, nullptr), ZEAC_BAD_ARGUMENT);
  EXPECT_EQ(zeac_assistant_create(nullptr, &assistant, nullptr), ZEAC_BAD_ARGUMENT);
  EXPECT_EQ(assistant, nullptr);
  EXPECT_EQ(zeac_assistant_ask(nullptr, {nullptr, 7}, &string, nullptr), ZEAC_BAD_ARGUMENT);
  EXPECT_EQ(zeac_mask_secret(text("a"), text("b"), nullptr), ZEAC_BAD_ARGUMENT);
  zeac_memory_functions functions{};
  functions.record_size = sizeof(functions);
  zeac_memory* memory = nullptr;
  EXPECT_EQ(zeac_memory_create(&functions, &memory), ZEAC_BAD_ARGUMENT);
  std::uint32_t kind = 0;
  EXPECT_EQ(zeac_catalog_query(77, 0, &kind, &string), ZEAC_BAD_ARGUMENT);
  EXPECT_EQ(zeac_catalog_query(ZEAC_DIALECT_SQLITE, 99, &kind, &string), ZEAC_END);
  // Each takes null, and what is past an end is empty.
  zeac_assistant_free(nullptr);
  zeac_memory_free(nullptr);
  zeac_string_free(nullptr);
  zeac_rows_free(nullptr);
  zeac_cancel_now(nullptr);
  EXPECT_EQ(zeac_string_text(nullptr).size, 0U);
  EXPECT_EQ(zeac_strings_at(nullptr, 3).size, 0U);
  EXPECT_EQ(zeac_rows_cell(nullptr, 1, 1, &kind).size, 0U);
  const std::uint32_t version = zeac_version();
  EXPECT_EQ(std::to_string(version >> 16U) + "." + std::to_string(version >> 8U & 0xffU) + "." +
                std::to_string(version & 0xffU),
            zeac_version_text());
}

struct Turns {
  std::string document;
  std::vector<std::pair<std::int32_t, std::string>> entries;
  std::int32_t result = 0;
};

zeac_memory_functions functionsOf(Turns& turns) {
  return {
      sizeof(zeac_memory_functions),
      &turns,
      [](void* context, zeac_text document) {
        static_cast<Turns*>(context)->document.assign(document.data, document.size);
        return std::int32_t{0};
      },
      [](void* context, zeac_sink* sink) { return zeac_sink_text(sink, text(static_cast<Turns*>(context)->document)); },
      [](void* context, std::int32_t role, zeac_text entry) {
        static_cast<Turns*>(context)->entries.emplace_back(role, std::string(entry.data, entry.size));
        return std::int32_t{0};
      },
      [](void* context, std::int32_t, zeac_sink* sink) {
        const Turns& kept = *static_cast<Turns*>(context);
        for (const auto& [role, entry] : kept.entries) zeac_sink_entry(sink, role, text(entry));
        return kept.result;
      }};
}

TEST(CInterface, AsksThroughMemoriesOfTheHostAndTheKit) {
  standin::Server server;
  Turns turns;
  const zeac_memory_functions functions = functionsOf(turns);
  zeac_memory* own = nullptr;
  zeac_memory* window = nullptr;
  zeac_memory* focused = nullptr;
  ASSERT_EQ(zeac_memory_create(&functions, &own), ZEAC_OK);
  ASSERT_EQ(zeac_window_memory_create(own, 1, 0, &window), ZEAC_OK);
  ASSERT_EQ(zeac_focused_memory_create(window, 14, &focused), ZEAC_OK);
  EXPECT_EQ(zeac_focus(window, text("q")), ZEAC_BAD_ARGUMENT);
  const std::string url = server.url();
  zeac_assistant_options options = optionsFor(url);
  options.memory = focused;
  zeac_assistant* assistant = nullptr;
  ASSERT_EQ(zeac_assistant_create(&options, &assistant, nullptr), ZEAC_OK);
  zeac_string* sentence = nullptr;
  EXPECT_EQ(zeac_assistant_set_text(assistant, text("model"), text("m"), &sentence), ZEAC_OK);
  EXPECT_EQ(sentence, nullptr);
  EXPECT_EQ(zeac_assistant_set_text(assistant, text("gone"), text("m"), nullptr), ZEAC_FAILED);
  EXPECT_EQ(zeac_assistant_set_number(assistant, text("temperature"), 0.5, nullptr), ZEAC_OK);
  EXPECT_EQ(zeac_assistant_set_integer(assistant, text("use_temperature"), 1, nullptr), ZEAC_OK);
  EXPECT_EQ(zeac_assistant_set_instruction(assistant, text("a"), text("First."), nullptr), ZEAC_OK);
  EXPECT_EQ(zeac_assistant_set_instruction(assistant, text("b"), text("Second."), nullptr), ZEAC_OK);
  const std::string document = R"([{"schemas":[{"tables":[{"name":"orders","fields":[{"name":"id","type":"int"}]},
      {"name":"clients","fields":[{"name":"name","type":"text"},{"name":"street","type":"text"}]}]}]}])";
  EXPECT_EQ(zeac_assistant_set_text(assistant, text("db_structure"), text(document), nullptr), ZEAC_OK);
  EXPECT_EQ(turns.document, document);

  zeac_string* reply = nullptr;
  for (const char* question : {"one orders", "two orders", "three orders"}) {
    EXPECT_EQ(zeac_focus(focused, text(question)), ZEAC_OK);
    ASSERT_EQ(zeac_assistant_ask(assistant, text(question), &reply, &sentence), ZEAC_OK) << take(sentence);
    EXPECT_NE(take(reply).find("orders"), std::string::npos);
  }
  const std::string body = server.requests().back().body;
  for (const char* there : {"First.", "Second.", "CREATE TABLE `orders`", "\"two orders\"", "\"temperature\":0.5"}) {
    EXPECT_NE(body.find(there), std::string::npos) << there << " is not in " << body;
  }
  EXPECT_EQ(body.find("street"), std::string::npos) << "beyond the budget";
  EXPECT_EQ(body.find("one orders"), std::string::npos) << "outside of the window";
  EXPECT_EQ(turns.entries.size(), 6U);

  turns.result = 1;
  EXPECT_EQ(zeac_assistant_ask(assistant, text("q"), &reply, &sentence), ZEAC_HOST_FAILED);
  EXPECT_EQ(reply, nullptr);
  EXPECT_EQ(take(sentence), "The host's memory failed.");
  turns.result = 0;
  standin::Reply refusal{429, R"({"error":{"message":"Too fast."}})"};
  server.enqueue(refusal);
  EXPECT_EQ(zeac_assistant_ask(assistant, text("q"), &reply, &sentence), ZEAC_FAILED);
  EXPECT_EQ(take(sentence), "Too fast.");
  EXPECT_EQ(zeac_assistant_last_status(assistant), 429);
  EXPECT_EQ(turns.entries.size(), 6U);
  zeac_strings* models = nullptr;
  ASSERT_EQ(zeac_assistant_models(assistant, &models, nullptr), ZEAC_OK);
  EXPECT_EQ(zeac_strings_count(models), 2U);
  zeac_strings_free(models);
  zeac_assistant_free(assistant);
  for (zeac_memory* memory : {focused, window, own}) zeac_memory_free(memory);
}

TEST(CInterface, IsCancelledFromAnotherThreadAndTranslates) {
  standin::Server server;
  standin::Reply slow{200, "{}"};
  slow.delay = std::chrono::minutes(10);
  server.enqueue(slow);
  zeac_cancel* cancel = nullptr;
  ASSERT_EQ(zeac_cancel_create(&cancel), ZEAC_OK);
  const std::string url = server.url();
  zeac_assistant_options options = optionsFor(url);
  options.cancel = cancel;
  zeac_assistant* assistant = nullptr;
  ASSERT_EQ(zeac_assistant_create(&options, &assistant, nullptr), ZEAC_OK);
  zeac_string* reply = nullptr;
  zeac_string* sentence = nullptr;
  zeac_set_localizer(
      [](void* context, const char* english, char* translated, std::size_t capacity) {
        return static_cast<std::int32_t>(
            std::snprintf(translated, capacity, "%s: %s", static_cast<const char*>(context), english));
      },
      const_cast<char*>("Ach"));
  EXPECT_EQ(zeac_assistant_ask(assistant, text("q"), &reply, &sentence), ZEAC_FAILED);
  EXPECT_EQ(take(sentence), "Ach: Model is empty: p/v1/chat/completions");
  zeac_set_localizer(nullptr, nullptr);
  EXPECT_EQ(zeac_assistant_set_text(assistant, text("model"), text("m"), nullptr), ZEAC_OK);
  std::thread other([&] {
    while (server.requests().empty()) std::this_thread::yield();
    zeac_cancel_now(cancel);
  });
  EXPECT_EQ(zeac_assistant_ask(assistant, text("q"), &reply, &sentence), ZEAC_FAILED);
  other.join();
  EXPECT_EQ(take(sentence), "The request was cancelled.");
  zeac_cancel_free(cancel);
  zeac_assistant_free(assistant);
}

TEST(CInterface, BuildsStructuresAndTakesRepliesApart) {
  zeac_structure* structure = nullptr;
  ASSERT_EQ(zeac_structure_create(ZEAC_DIALECT_POSTGRESQL, &structure), ZEAC_OK);
  const zeac_text relation[] = {text("till"), text("clients"), text("BASE TABLE"), {nullptr, 0}, {nullptr, 0}};
  const std::vector<std::string> cells = {"till", "clients", "1", "id", "int", "NO"};
  std::vector<zeac_text> column;
  for (const std::string& cell : cells) column.push_back(text(cell));
  column.resize(10, {nullptr, 0});
  EXPECT_EQ(zeac_structure_add_row(structure, 0, relation, 5), ZEAC_OK);
  EXPECT_EQ(zeac_structure_add_row(structure, 1, column.data(), column.size()), ZEAC_OK);
  EXPECT_EQ(zeac_structure_add_row(structure, 1, relation, 1), ZEAC_FAILED);
  EXPECT_EQ(zeac_structure_add_row(structure, 99, relation, 1), ZEAC_BAD_ARGUMENT);
  EXPECT_EQ(zeac_structure_add_row(structure, 0, nullptr, 1), ZEAC_BAD_ARGUMENT);
  zeac_string* document = nullptr;
  zeac_strings* instructions = nullptr;
  ASSERT_EQ(zeac_structure_build(structure, &document, &instructions, nullptr), ZEAC_OK);
  zeac_structure_free(structure);
  EXPECT_EQ(zeac_strings_count(instructions) % 2, 0U);
  zeac_strings_free(instructions);
  const std::string whole = take(document);
  EXPECT_NE(whole.find("clients"), std::string::npos) << whole;
  EXPECT_GT(zeac_estimate_tokens(text(whole)), 5U);
  zeac_string* fitted = nullptr;
  ASSERT_EQ(zeac_fit(text(whole), text("clients"), 100, &fitted, nullptr), ZEAC_OK);
  EXPECT_NE(take(fitted).find("clients"), std::string::npos);
  zeac_string* sentence = nullptr;
  EXPECT_EQ(zeac_fit(text("["), text("q"), 100, &fitted, &sentence), ZEAC_FAILED);
  EXPECT_NE(take(sentence), "");

  zeac_parts* parts = nullptr;
  ASSERT_EQ(zeac_reply_parts(text("So:\n```sql\nSELECT 1\n```\n```py\nx\n```"), &parts), ZEAC_OK);
  ASSERT_EQ(zeac_parts_count(parts), 3U);
  std::uint32_t kind = 0;
  zeac_text content{};
  zeac_text language{};
  ASSERT_EQ(zeac_parts_at(parts, 1, &kind, &content, &language), ZEAC_OK);
  EXPECT_EQ(kind, ZEAC_PART_SQL);
  EXPECT_EQ(std::string(content.data, content.size), "SELECT 1\n");
  EXPECT_EQ(std::string(language.data, language.size), "sql");
  EXPECT_EQ(zeac_parts_at(parts, 3, &kind, nullptr, nullptr), ZEAC_END);
  zeac_parts_free(parts);
}

}  // namespace
