// SPDX-License-Identifier: Apache-2.0
// The library as a part of a process: its shortages, its threads, its descriptors, its signals and its locale.
#include <gtest/gtest.h>

#include <malloc.h>
#include <zlib.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <locale>
#include <new>
#include <string_view>
#include <thread>

#include "loopback/raw_server.h"
#include "loopback/tls_identity.h"
#include "support/providers.h"

namespace {

// How many allocations of the thread succeed before one fails; negative: all do.
thread_local int tAllowed = -1;

// What is in use of what C++ allocated, and the most that ever was.
std::atomic<std::size_t> gBytes{0};
std::atomic<std::size_t> gMostBytes{0};

void* allocate(std::size_t size) noexcept {
  if (tAllowed >= 0 && tAllowed-- == 0) return nullptr;
  void* const memory = std::malloc(size > 0 ? size : 1);
  if (memory == nullptr) return nullptr;
  const std::size_t bytes = gBytes += malloc_usable_size(memory);
  if (bytes > gMostBytes) gMostBytes = bytes;  // of two threads at a time the lesser may win: a test measures one
  return memory;
}

// What may not lie in memory that is given back; empty: nobody looks.
std::string_view gSecret;
std::atomic<int> gSecretsFreed{0};

void release(void* memory) noexcept {
  if (memory != nullptr) gBytes -= malloc_usable_size(memory);
  if (memory != nullptr && !gSecret.empty()) {
    const std::string_view block(static_cast<const char*>(memory), malloc_usable_size(memory));
    if (block.find(gSecret) != std::string_view::npos) ++gSecretsFreed;
  }
  std::free(memory);
}

void* allocateOrThrow(std::size_t size) {
  void* const memory = allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

// All of them: a sanitizer's own would not forward to these, and tells an array's from a single object's.
void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { release(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { release(memory); }

namespace {

/// Runs the operation with the allocation at `index`, from 0, of this thread failing, and only that one. True when
/// there was one.
template <class Run>
bool runShortOfMemory(int index, Run operation) {
  tAllowed = index;
  const CODefer restore([] { tAllowed = -1; });
  operation();
  return tAllowed < 0;
}

class EachProvider : public testing::TestWithParam<Provider> {};
INSTANTIATE_TEST_SUITE_P(All, EachProvider, testing::ValuesIn(kProviders), nameOf);

// Long enough that no string keeps it within itself.
const std::string kLong = "a text that is longer than what a string keeps within itself";

/// A body that every provider's chat and listing understands.
std::string answerOf(const std::string& reply) {
  const std::string turn = R"({"role":"assistant","content":")" + reply + R"("})";
  const std::string texts = R"([{"type":"text","text":")" + reply + R"("}])";
  return R"({"choices":[{"message":)" + turn + R"(}],"message":)" + turn + R"(,"content":)" + texts +
         R"(,"candidates":[{"content":{"role":"model","parts":)" + texts + R"(}}],"data":[{"id":")" + kLong +
         R"(","object":"model","type":"model","created":1,"created_at":"2024-01-01T00:00:00Z"}],"models":[{"name":")" +
         kLong + R"(","supportedGenerationMethods":["generateContent"]}]})";
}

std::string documentOf(const std::string& schema) {
  return R"([{"schemas":[{"schema_name":")" + schema +
         R"(","tables":[{"name":"t","fields":[{"name":"c","type":"INT"}]}]}]}])";
}

bool areWholeTurns(const std::vector<ZEAAssistantMemoryEntry>& entries) {
  bool isWhole = entries.size() % 2 == 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    isWhole = isWhole && entries[i].role == (i % 2 == 0 ? ZEARoleUser : ZEARoleAssistant);
  }
  return isWhole;
}

std::string ask(IZEAAssistant& assistant, const std::string& question) {
  const auto [message, failure] = assistant.addMessage(question);
  const Owned<IZEAMessage> owned(message);
  EXPECT_NE(message == nullptr, failure.empty());
  return message != nullptr ? std::string(message->obtainSections().at(0)->obtainSectionText()) : failure;
}

void configure(IZEAAssistant& assistant) {
  assistant.updateProperties([](IZEAProperties* properties) {
    EXPECT_TRUE(properties->setValue("model", kLong));
    EXPECT_TRUE(properties->setValue("api_key", kLong));
    EXPECT_TRUE(properties->setValue("temperature", 0.5));
    EXPECT_TRUE(properties->setValue("use_temperature", 1));
    EXPECT_TRUE(properties->setValue("user_instructions", kLong));
    EXPECT_TRUE(properties->setValue("system_instructions", CMVariantMap{{kLong, kLong}}));
    EXPECT_TRUE(properties->setValue("db_structure", documentOf(kLong)));
  });
}

std::size_t countDescriptors() {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

/// What may fail for want of memory, on an assistant that has been made before.
using Operation = std::function<void(IZEAAssistant&)>;
const std::pair<const char*, Operation> kOperations[] = {
    {"updateProperties", configure},
    {"obtainProperties",
     [](IZEAAssistant& assistant) {
       const Owned<IZEAProperties> copy(assistant.obtainProperties());
       EXPECT_GT(copy->obtainDescription().size(), 8U);
       EXPECT_FALSE(copy->obtainValue("combined_instructions").isNull());
       EXPECT_FALSE(copy->obtainValue("db_structure").isNull());
     }},
    {"addMessage", [](IZEAAssistant& assistant) { EXPECT_NE(ask(assistant, kLong), ""); }},
    {"obtainAvailableModels",
     [](IZEAAssistant& assistant) {
       const auto [models, failure] = assistant.obtainAvailableModels();
       EXPECT_TRUE(models.empty() || failure.empty());
     }},
};

}  // namespace

TEST_P(EachProvider, LeavesThePoolToTheCallerWhenThereIsNoMemoryForAnAssistant) {
  bool isMade = false;
  for (int index = 0; !isMade; ++index) {
    std::unique_ptr<ICSHTTPPoolCenter> pool(QX::createHTTPPoolCenter());
    Owned<IZEAAssistant> assistant;

    try {
      isMade = !runShortOfMemory(
          index, [&] { assistant.reset(ZEACreateAssistant(GetParam().type, pool.get(), kLong, kLong, nullptr)); });
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(assistant, nullptr);
    }

    if (assistant != nullptr) static_cast<void>(pool.release());
  }
}

// The memory used to keep the question when there was no room for the reply.
TEST_P(EachProvider, RemembersWholeTurnsAndAnswersAgainAfterAnyFailedAllocation) {
  standin::Server server;
  for (const auto& [name, operation] : kOperations) {
    bool isDone = false;
    for (int index = 0; !isDone; ++index) {
      const auto assistant = newAssistant(GetParam().type, "k", server.url());
      const Owned<IZEAAssistantMemory> memory(assistant->releaseMemory());
      configure(*assistant);
      for (int i = 0; i < 2; ++i) server.enqueue({200, answerOf(kLong)});

      try {
        isDone = !runShortOfMemory(index, [&, &run = operation] { run(*assistant); });
      } catch (const std::bad_alloc&) {
      }

      ASSERT_TRUE(areWholeTurns(memory->obtainEntries(20))) << name << ", allocation " << index;
      ASSERT_EQ(ask(*assistant, "again"), kLong) << name << ", allocation " << index;
    }
  }
}

// Keys used to stay, two to eight times, in memory that had been given back.
TEST_P(EachProvider, LeavesNoKeyInMemoryThatItFrees) {
  constexpr char kMark[] = "a secret mark";
  const std::string first = "first key with a secret mark and some more";
  const CMVariant second("second and longer key, whose place is another one, with a secret mark and some more");
  const CMVariant third("third key with a secret mark");
  gSecretsFreed = 0;
  gSecret = kMark;

  {
    const auto assistant = newAssistant(GetParam().type, first, "http://127.0.0.1:0");
    set(*assistant, "model", "m");
    for (const CMVariant& key : {std::cref(second), std::cref(third)}) {
      set(*assistant, "api_key", key);
      const Owned<IZEAProperties> copy(assistant->obtainProperties());
      EXPECT_TRUE(copy->setValue("api_key", second));
      EXPECT_NE(ask(*assistant, "q").find("No connection"), std::string::npos);
      static_cast<void>(assistant->obtainAvailableModels());
    }
  }

  gSecret = {};
  EXPECT_EQ(gSecretsFreed, 0);
}

TEST_P(EachProvider, CarriesBytesThatAreNoUTF8FromEndToEnd) {
  const std::string bytes = "\xFF\xC3\x28 \xED\xA0\x80 \xC0\xAF";
  Conversation conversation(GetParam());
  set(*conversation.assistant, "user_instructions", "1" + bytes);
  set(*conversation.assistant, "db_structure", documentOf("2" + bytes));

  const std::string first = conversation.ask("3" + bytes, {200, answerOf("4" + bytes)});
  conversation.askWell("next");

  const std::string sent = conversation.lastBody();
  EXPECT_EQ(first, "4" + bytes);
  for (const char* mark : {"1", "`2", "\"3", "\"4"}) EXPECT_NE(sent.find(mark + bytes), std::string::npos) << mark;
  EXPECT_TRUE(COJson(sent).getIsValidJson());
}

TEST_P(EachProvider, SpeaksTheSameInEveryLocale) {
  struct CommaPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  Conversation conversation(GetParam());
  configure(*conversation.assistant);
  conversation.askWell(kLong);
  const std::string expected = conversation.lastBody();
  Conversation abroad(GetParam());
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
  const CODefer restore([&before] { std::locale::global(before); });

  configure(*abroad.assistant);
  EXPECT_EQ(abroad.askWell(kLong), "fine");

  EXPECT_EQ(abroad.lastBody(), expected);
  EXPECT_NE(expected.find("\"temperature\":0.5"), std::string::npos);
}

TEST(Process, ServesSixteenThreadsFromAColdStart) {
  constexpr int kQuestions = 10;
  std::array<int, 16> answered{};
  std::vector<std::thread> threads;

  for (std::size_t i = 0; i < answered.size(); ++i) {
    threads.emplace_back([&count = answered[i], &provider = kProviders[i % std::size(kProviders)]] {
      Conversation conversation(provider);
      configure(*conversation.assistant);
      while (count < kQuestions && conversation.askWell(kLong) == "fine") ++count;
    });
  }
  for (std::thread& thread : threads) thread.join();

  for (const int count : answered) EXPECT_EQ(count, kQuestions);
}

/// What this thread has allocated; its arena is the process's first. Sanitizers show 0 and look for leaks themselves.
std::size_t countBytesInUse() { return mallinfo2().uordblks; }

TEST(Process, KeepsNothingOfTenThousandCallsHalfOfWhichFail) {
  constexpr std::size_t kTolerance = 100'000;
  const Provider& provider = kProviders[0];
  std::array<standin::Reply, 3> failures;
  failures[0].status = 500;
  failures[1].body = provider.answer;
  failures[1].cutAfterBytes = 5;
  failures[2].closeUnanswered = true;
  std::size_t descriptors = 0;
  std::size_t bytes = 0;

  for (std::size_t i = 0; i < 5; ++i) {
    {
      Conversation conversation(provider);
      for (std::size_t call = 0; call < 1000; ++call) {
        // A memory of its own each time, since a thousand turns would be sent with the last question.
        conversation.assistant = newAssistant(provider.type, "k", conversation.server.url());
        set(*conversation.assistant, "model", "m");
        EXPECT_EQ(conversation.ask("lost", failures[call % failures.size()]).substr(0, 8), "failed: ");

        ASSERT_EQ(conversation.askWell("q"), "fine") << call;
      }
    }
    // What is opened once stays open, and the allocator's own keeping settles in the first rounds.
    if (i == 2) descriptors = countDescriptors();
    if (i == 2) bytes = countBytesInUse();
  }

  EXPECT_EQ(countDescriptors(), descriptors);
  EXPECT_LE(countBytesInUse(), bytes + kTolerance);
}

std::string zip(const std::string& text) {
  std::string zipped(text.size() / 100 + 1000, '\0');
  z_stream stream{};
  EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(zipped.data());
  stream.avail_out = static_cast<uInt>(zipped.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  zipped.resize(stream.total_out);
  deflateEnd(&stream);
  return zipped;
}

// 65 kB of gzip used to become 2.2 GB of values.
TEST(Process, HoldsNoMoreValuesOfAReplyThanTheSettingsAllowBytes) {
  std::string zeros = "[0";
  for (int i = 0; i < 20'000'000; ++i) zeros += ",0";
  const std::string zipped = zip(zeros + "]");
  const std::size_t textBytes = zeros.size();
  zeros = {};
  standin::Server server;
  server.enqueue({200, zipped, {{"Content-Encoding", "gzip"}}});
  server.enqueue({200, answerOf("fine")});
  const auto assistant = newAssistant(ZEAAssistantType::OLLAMA, "", server.url());
  const std::size_t before = gBytes;
  gMostBytes = before;

  const std::string failure = ask(*assistant, "q");

  EXPECT_EQ(failure, "The server's answer is larger than the settings allow.");
  const std::uint64_t most = CMRestGlobalSettings().maxResponseBytes;
  EXPECT_LT(gMostBytes - before, 2 * textBytes + most + most / 8);  // the text grows while it is decompressed
  EXPECT_LT(gBytes, before + 1'000'000);
  EXPECT_EQ(ask(*assistant, "again"), "fine");
}

TEST(Process, IsNotEndedBySIGPIPEAndLeavesItAsItWas) {
  const loopback::TestAuthority authority;
  const standin::TlsIdentity identity = authority.issue("IP:127.0.0.1");
  CMRestGlobalSettings settings;
  settings.caFile = authority.file();
  ZEASetHTTPSettings(settings);
  const auto before = std::signal(SIGPIPE, SIG_DFL);
  const std::string question(8'000'000, 'q');

  for (const loopback::RawEnd end : {loopback::RawEnd::Close, loopback::RawEnd::Break, loopback::RawEnd::Reset}) {
    for (const standin::TlsIdentity* const secure : {&identity, static_cast<const standin::TlsIdentity*>(nullptr)}) {
      const loopback::RawServer server({{{""}, end, {}, false, false, true}}, secure);
      const auto assistant = newAssistant(ZEAAssistantType::OLLAMA, "", server.url());
      EXPECT_NE(ask(*assistant, question), "");
    }
  }

  EXPECT_EQ(std::signal(SIGPIPE, before), SIG_DFL);
  ZEASetHTTPSettings({});
}
