// SPDX-License-Identifier: Apache-2.0
// The wire: what goes out to each provider, what is understood of what comes back, and what the user reads of a
// failure.
#include <gtest/gtest.h>

#include <cstring>

#include "support/providers.h"

namespace {

class Wire : public testing::TestWithParam<Provider> {};
INSTANTIATE_TEST_SUITE_P(All, Wire, testing::ValuesIn(kProviders), nameOf);

const Provider& providerOf(ZEAAssistantType type) {
  for (const Provider& provider : kProviders) {
    if (provider.type == type) return provider;
  }
  throw std::logic_error("no such provider");
}

bool isFamily(const Provider& provider) { return provider.answer == kChoice; }

/// Two requests whole: a first question with nothing but a model, and a second one with everything.
struct Requests {
  std::string bare;
  std::string full;
};

Requests requestsOf(const Provider& provider) {
  switch (provider.type) {
    case ZEAAssistantType::ANTHROPIC:
      return {R"({"model":"m","max_tokens":1024,"messages":[{"role":"user","content":"q1"}]})",
              R"({"model":"m","temperature":0.5,"max_tokens":1024,"system":"Be brief.\n\n","messages":[)"
              R"({"role":"user","content":"q1"},{"role":"assistant","content":"fine"},)"
              R"({"role":"user","content":"q2"}]})"};
    case ZEAAssistantType::GOOGLE:
      return {R"({"contents":[{"role":"user","parts":[{"text":"q1"}]}]})",
              R"({"generationConfig":{"temperature":0.5},"system_instruction":{"parts":{"text":"Be brief.\n\n"}},)"
              R"("contents":[{"role":"user","parts":[{"text":"q1"}]},{"role":"model","parts":[{"text":"fine"}]},)"
              R"({"role":"user","parts":[{"text":"q2"}]}]})"};
    case ZEAAssistantType::OLLAMA:
      return {R"({"model":"m","stream":false,"messages":[{"role":"user","content":"q1"}]})",
              R"({"model":"m","stream":false,"options":{"temperature":0.5},"messages":[)"
              R"({"role":"system","content":"Be brief.\n\n"},{"role":"user","content":"q1"},)"
              R"({"role":"assistant","content":"fine"},{"role":"user","content":"q2"}]})"};
    default: {
      const std::string role = provider.type == ZEAAssistantType::OPENAI_v1 ? "developer" : "system";
      return {R"({"model":"m","messages":[{"role":"user","content":"q1"}]})",
              R"({"model":"m","temperature":0.5,"messages":[{"role":")" + role +
                  R"(","content":"Be brief.\n\n"},{"role":"user","content":"q1"},)"
                  R"({"role":"assistant","content":"fine"},{"role":"user","content":"q2"}]})"};
    }
  }
}

TEST_P(Wire, CarriesModelTemperatureInstructionsAndTurnsInTheProvidersForm) {
  Conversation conversation(GetParam());
  const Requests expected = requestsOf(GetParam());

  EXPECT_EQ(conversation.askWell("q1"), "fine");
  const std::string bare = conversation.lastBody();
  set(*conversation.assistant, "user_instructions", "Be brief.");
  set(*conversation.assistant, "temperature", 0.5);
  set(*conversation.assistant, "use_temperature", 1);
  EXPECT_EQ(conversation.askWell("q2"), "fine");

  const standin::Request last = conversation.server.requests().back();
  EXPECT_EQ(bare, expected.bare);
  EXPECT_EQ(last.body, expected.full);
  EXPECT_EQ(last.method, "POST");
  EXPECT_EQ(last.target, GetParam().chatTarget);
  EXPECT_EQ(last.header("Content-Type"), "application/json");
}

TEST_P(Wire, CarriesATemperatureOnlyWhenBothKeysAreAssignedAndItIsOn) {
  const std::vector<std::pair<const char*, CMVariant>> kAssignments[] = {
      {{"use_temperature", 1}},
      {{"temperature", 0.5}},
      {{"temperature", 0.5}, {"use_temperature", 0}},
  };
  for (const auto& assignments : kAssignments) {
    Conversation conversation(GetParam());
    for (const auto& [key, value] : assignments) set(*conversation.assistant, key, value);

    conversation.askWell("q1");

    EXPECT_EQ(conversation.lastBody(), requestsOf(GetParam()).bare);
  }
}

TEST_P(Wire, FailsWithoutAModelBeforeAnythingIsSent) {
  Conversation conversation(GetParam());
  set(*conversation.assistant, "model", "");
  const std::string location =
      GetParam().type == ZEAAssistantType::GOOGLE ? ": p/v1beta/models/generateContent" : GetParam().chatLocation;

  if (GetParam().type == ZEAAssistantType::OLLAMA) {
    EXPECT_EQ(conversation.askWell("q1"), "fine");
    EXPECT_EQ(conversation.lastBody(), R"({"stream":false,"messages":[{"role":"user","content":"q1"}]})");
  } else {
    EXPECT_EQ(conversation.ask("q1"), "failed: Model is empty" + location);
    EXPECT_TRUE(conversation.server.requests().empty());
  }
}

TEST_P(Wire, TellsEachFailureInItsWordsAndForgetsTheQuestion) {
  const bool isX = GetParam().type == ZEAAssistantType::X;
  const bool isGoogle = GetParam().type == ZEAAssistantType::GOOGLE;
  const std::string location = GetParam().chatLocation;
  const std::string object = R"({"error":{"message":"No credit."}})";
  const std::string text = R"({"error":"No credit.","code":"c1"})";
  const std::string wrongCode = R"({"error":"No credit.","code":1})";
  const struct {
    int status;
    std::string body;
    std::string failure;
  } kCases[] = {
      {401, object, isX ? object : "No credit."},
      {401, text,
       isX        ? "c1\nNo credit."
       : isGoogle ? "HTTP 401 Unauthorized"
                  : text},
      {403, wrongCode, isGoogle ? "HTTP 403 Forbidden" : wrongCode},
      {400, R"({"error":{"message":7}})", isGoogle ? "HTTP 400 Bad Request" : R"({"error":{"message":7}})"},
      {502, "<html>", isGoogle ? "HTTP 502 Bad Gateway" : "<html>"},
      {503, "", "HTTP 503 Service Unavailable"},
      {402, R"({"error":{"message":""}})", isX ? R"({"error":{"message":""}})" : "HTTP 402 Payment Required"},
      {200, "", "Invalid response" + location},
      {200, "[1", "Invalid response" + location},
      {200, "[]", "Unsupported data format" + location},
      {200, object, "Unsupported data format" + location},
      {200, R"({"choices":{},"candidates":1,"content":"x","message":[]})", "Unsupported data format" + location},
  };
  Conversation conversation(GetParam());

  for (const auto& row : kCases) {
    EXPECT_EQ(conversation.ask("lost", {row.status, row.body}), "failed: " + row.failure) << row.body;
  }

  EXPECT_EQ(conversation.askWell("q1"), "fine");
  EXPECT_EQ(conversation.lastBody(), requestsOf(GetParam()).bare);
}

TEST_P(Wire, TellsTheTransportsSentenceWhenNoWholeReplyCame) {
  Conversation conversation(GetParam());
  standin::Reply cut{401, R"({"error":{"message":"secret half"}})"};
  cut.cutAfterBytes = 5;
  standin::Reply closed;
  closed.closeUnanswered = true;
  const auto sentence = [](std::int32_t code) {
    return QX::obtainAppFactory()->obtainErrorService()->obtainErrorTranslator()->translateError(code).message;
  };

  EXPECT_EQ(conversation.ask("lost", cut), "failed: " + sentence(CMRestCode::ClosedInsideReply));
  EXPECT_EQ(conversation.ask("lost", closed), "failed: " + sentence(CMRestCode::ClosedBeforeReply));

  EXPECT_EQ(conversation.askWell("q1"), "fine");
  EXPECT_EQ(conversation.lastBody(), requestsOf(GetParam()).bare);
}

void translate(const char* request, void* data) {
  auto* const info = static_cast<ZEACallbackLocalizationInfo*>(data);
  if (std::strcmp(request, "ZEALocalizeString") != 0) return;
  if (std::strcmp(info->sourceText, "Model is empty") == 0) std::memset(info->localizedText, 'x', 1023);
  if (std::strcmp(info->sourceText, "Unsupported data format") == 0) std::strcpy(info->localizedText, "Format");
}

void neverAsked(const char*, void*) { ADD_FAILURE() << "a callback that was replaced"; }

TEST_P(Wire, LetsTheHostTranslateTheLibrarysOwnTexts) {
  Conversation conversation(GetParam());
  if (GetParam().type == ZEAAssistantType::OLLAMA) return;  // an empty model is no failure there
  ZEARegisterCallback(neverAsked);
  ZEARegisterCallback(translate);

  const std::string declined = conversation.ask("q", {200, "?"});
  const std::string format = conversation.ask("q", {200, "{}"});
  if (GetParam().listingTarget != nullptr) {
    conversation.server.enqueue({200, "{}"});
    EXPECT_EQ(conversation.assistant->obtainAvailableModels().second,
              std::string("Format") + GetParam().listingLocation);
  }
  set(*conversation.assistant, "model", "");
  const std::string translated = conversation.ask("q");
  ZEARegisterCallback(nullptr);
  const std::string english = conversation.ask("q");

  EXPECT_EQ(declined, std::string("failed: Invalid response") + GetParam().chatLocation);
  EXPECT_EQ(format, std::string("failed: Format") + GetParam().chatLocation);
  EXPECT_EQ(translated.substr(0, 1031 + 4), "failed: " + std::string(1023, 'x') + ": p/");
  EXPECT_EQ(english.find("failed: Model is empty: p/"), 0U);
}

TEST(Reply, IsReadFromWhatCountsAndSkipsTheRest) {
  const std::string long64(100'000, 'z');
  const struct {
    ZEAAssistantType type;
    std::string body;
    std::string reply;
  } kCases[] = {
      {ZEAAssistantType::OPENAI_v1, R"({"choices":[]})", ""},
      {ZEAAssistantType::OPENAI_v1, R"({"choices":[{"message":{"role":"assistant","content":""}}]})", ""},
      {ZEAAssistantType::OPENAI_v1,
       R"({"choices":[{"message":{"role":"assistant","content":"ab"}},1,{},{"message":"x"},)"
       R"({"message":{"role":"user","content":"no"}},{"message":{"role":"assistant","content":null}},)"
       R"({"message":{"content":"no"}},{"message":{"role":"Assistant","content":"no"}},)"
       R"({"message":{"content":"cd","role":"assistant"}}]})",
       "abcd"},
      {ZEAAssistantType::MOONSHOT,
       R"({"choices":[{"message":{"role":"assistant","content":"a\u0000\u00e4\"\ud83d\ude00"}}]})",
       std::string("a\0\xc3\xa4\"\xf0\x9f\x98\x80", 9)},
      {ZEAAssistantType::X, R"({"choices":[{"message":{"role":"assistant","content":")" + long64 + R"("}}]})", long64},
      {ZEAAssistantType::ANTHROPIC, R"({"content":[]})", ""},
      {ZEAAssistantType::ANTHROPIC,
       R"({"content":[{"type":"text","text":"ab"},{"type":"thinking","text":"no"},{"text":"no"},2,)"
       R"({"type":"text","text":5},{"text":"cd","type":"text"}]})",
       "abcd"},
      {ZEAAssistantType::GOOGLE, R"({"candidates":[]})", ""},
      {ZEAAssistantType::GOOGLE,
       R"({"candidates":[{"content":{"role":"model","parts":[{"text":"a"},{"x":1},{"text":2},7,{"text":"b"}]}},)"
       R"({},{"content":{"parts":[{"text":"no"}]}},{"content":{"role":"user","parts":[{"text":"no"}]}},)"
       R"({"content":{"role":"model"}},{"content":[]},{"content":{"role":"model","parts":{"text":"no"}}},)"
       R"({"content":{"parts":[{"text":"cd"}],"role":"model"}}]})",
       "abcd"},
      {ZEAAssistantType::OLLAMA, R"({"message":{"role":"assistant","content":""}})", ""},
      {ZEAAssistantType::OLLAMA, R"({"message":{"role":"user","content":"x"}})",
       "failed: Unsupported data format: p/api/chat"},
      {ZEAAssistantType::OLLAMA, R"({"message":{"role":"assistant"}})", "failed: Unsupported data format: p/api/chat"},
  };
  for (const auto& row : kCases) {
    Conversation conversation(providerOf(row.type));

    EXPECT_EQ(conversation.ask("q", {200, row.body}), row.reply) << conversation.provider << row.body.substr(0, 200);

    const Owned<IZEAAssistantMemory> memory(conversation.assistant->releaseMemory());
    conversation.assistant.reset();
    const auto entries = memory->obtainEntries(20);
    ASSERT_EQ(entries.size(), row.reply.find("failed") == 0 ? 0U : 2U);
    if (!entries.empty()) {
      EXPECT_EQ(entries[1].text, row.reply);
    }
  }
}

TEST(Reply, IsAMessageThatOutlivesItsAssistant) {
  Conversation conversation(kProviders[0]);
  conversation.server.enqueue({200, kChoice});
  const auto before =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();

  const auto [message, failure] = conversation.assistant->addMessage("");
  const Owned<IZEAMessage> owned(message);
  conversation.assistant.reset();

  ASSERT_NE(message, nullptr) << failure;
  EXPECT_EQ(failure, "");
  EXPECT_EQ(message->obtainRole(), ZEARoleAssistant);
  EXPECT_GE(message->obtainTime(), before);
  EXPECT_LT(message->obtainTime(), before + 3600) << "whole seconds";
  ASSERT_EQ(message->obtainSections().size(), 1U);
  EXPECT_EQ(message->obtainSections()[0]->obtainSectionType(), 0);
  EXPECT_EQ(message->obtainSections()[0]->obtainSectionText(), "fine");
}

TEST(Anthropic, SendsTheTokensThatWereAssigned) {
  const std::pair<CMVariant, const char*> kCases[] = {{0, "0"}, {-1, "-1"}, {77, "77"}, {"5", "5"}, {CMVariant(), "0"}};
  for (const auto& [value, sent] : kCases) {
    Conversation conversation(providerOf(ZEAAssistantType::ANTHROPIC));
    conversation.assistant->updateProperties([&, &tokens = value](IZEAProperties* live) {
      EXPECT_EQ(live->obtainValue("max_tokens").intValue(), 1024);
      EXPECT_TRUE(live->setValue("max_tokens", tokens));
    });

    conversation.askWell("q1");

    EXPECT_EQ(conversation.lastBody(),
              std::string(R"({"model":"m","max_tokens":)") + sent + R"(,"messages":[{"role":"user","content":"q1"}]})");
  }
}

// ---- Listings.

/// A listing's outcome in one text: the names with blanks between them, or the failure after "failed: ".
std::string listed(Conversation& conversation) {
  const auto [models, failure] = conversation.assistant->obtainAvailableModels();
  std::string text = failure.empty() ? "" : "failed: " + failure;
  for (const std::string& model : models) text += text.empty() ? model : " " + model;
  return text;
}

/// A listing of c, a, b, d in which a and b are newest and of one date, with items between them that don't count.
std::string listingOf(const Provider& provider) {
  switch (provider.type) {
    case ZEAAssistantType::ANTHROPIC:
      return R"({"data":[{"type":"model","id":"c","created_at":"2024-02-29T00:00:00Z"},)"
             R"({"type":"model","id":"a","created_at":"2025-01-01T00:00:00Z"},{"type":"x","id":"no","created_at":""},)"
             R"({"type":"model","id":"no"},{"id":"no","created_at":"2025-01-01T00:00:00Z"},3,)"
             R"({"type":"model","id":"b","created_at":"2025-01-01T00:00:00Z"},)"
             R"({"type":"model","id":"d","created_at":"yesterday"}]})";
    case ZEAAssistantType::GOOGLE:
      return R"({"models":[{"name":"models/c","supportedGenerationMethods":["embed",1,"generateContent"]},)"
             R"({"name":"a","supportedGenerationMethods":["generateContent"]},{"name":"models/no"},)"
             R"({"name":"models/no","supportedGenerationMethods":["GenerateContent"]},{"name":7},)"
             R"({"name":"no","supportedGenerationMethods":[]},{"supportedGenerationMethods":["generateContent"]},)"
             R"({"name":"models/b","supportedGenerationMethods":["generateContent"]},)"
             R"({"name":"models/d","supportedGenerationMethods":["generateContent","x"]}]})";
    case ZEAAssistantType::OLLAMA:
      return R"({"models":[{"name":"c"},{"name":"a"},{"name":1},{},"no",{"name":"b"},{"name":"d"}]})";
    case ZEAAssistantType::DEEPSEEK:
      return R"({"data":[{"object":"model","id":"c"},{"object":"model","id":"a","created":"x"},{"id":"no"},)"
             R"({"object":"Model","id":"no"},null,{"object":"model","id":"b"},{"object":"model","id":"d"}]})";
    default:
      return R"({"data":[{"object":"model","id":"c","created":5},{"object":"model","id":"a","created":2000000000},)"
             R"({"object":"x","id":"no","created":9},{"object":"model","id":"no","created":"9"},)"
             R"({"object":"model","id":"no"},{"object":"model","created":9},)"
             R"({"object":"model","id":"no","created":9.0},{"created":2000000000,"id":"b","object":"model"},{"object":"model","id":"d","created":-5}]})";
  }
}

TEST_P(Wire, ListsTheModelsThatCountNewestFirstWhereThereAreDates) {
  Conversation conversation(GetParam());
  const bool dated = GetParam().type == ZEAAssistantType::ANTHROPIC ||
                     (isFamily(GetParam()) && GetParam().type != ZEAAssistantType::DEEPSEEK);
  conversation.server.enqueue({200, listingOf(GetParam())});

  const std::string models = listed(conversation);

  if (GetParam().listingTarget == nullptr) {
    EXPECT_EQ(models, "");
    EXPECT_TRUE(conversation.server.requests().empty());
    return;
  }
  EXPECT_EQ(models, dated ? "a b c d" : "c a b d");
  ASSERT_EQ(conversation.server.requests().size(), 1U);
  EXPECT_EQ(conversation.server.requests()[0].method, "GET");
  EXPECT_EQ(conversation.server.requests()[0].target, GetParam().listingTarget);
}

/// What a listing's answer comes to, by the provider's manner of reading it.
struct ListingCase {
  int status;
  const char* body;
  const char* openai;   // OPENAI_v1, MOONSHOT
  const char* alibaba;  // and ANTHROPIC
  const char* x;
  const char* deepseek;
  const char* google;
  const char* ollama;
};

constexpr ListingCase kListingCases[] = {
    {200, "?", "", "", "", "failed: Invalid response@", "failed: Invalid response@", "failed: Invalid response@"},
    {200, "{}", "failed: Unsupported data format@", "failed: Unsupported data format@",
     "failed: Unsupported data format@", "failed: Unsupported data format@", "failed: Unsupported data format@",
     "failed: Unsupported data format@"},
    {503, "", "failed: HTTP 503 Service Unavailable", "failed: HTTP 503 Service Unavailable",
     "failed: HTTP 503 Service Unavailable", "failed: HTTP 503 Service Unavailable",
     "failed: HTTP 503 Service Unavailable", "failed: HTTP 503 Service Unavailable"},
    {401, R"({"error":{"message":"No."}})", "failed: No.", "failed: No.", R"(failed: {"error":{"message":"No."}})",
     "failed: No.", "failed: No.", "failed: HTTP 401 Unauthorized"},
    {401, R"({"error":{},"data":[]})", "failed: HTTP 401 Unauthorized", R"(failed: {"error":{},"data":[]})",
     R"(failed: {"error":{},"data":[]})", R"(failed: {"error":{},"data":[]})", "failed: HTTP 401 Unauthorized",
     "failed: HTTP 401 Unauthorized"},
    {200, R"({"error":"E","code":"C","data":[],"models":[]})", "",
     R"(failed: {"error":"E","code":"C","data":[],"models":[]})", "failed: C\nE", "", "", ""},
    {200, R"({"error":{},"data":[],"models":[]})", "", R"(failed: {"error":{},"data":[],"models":[]})",
     R"(failed: {"error":{},"data":[],"models":[]})", "", "", ""},
    {500, R"({"data":[],"models":[]})", "", "", "", R"(failed: {"data":[],"models":[]})",
     "failed: HTTP 500 Internal Server Error", "failed: HTTP 500 Internal Server Error"},
};

const char* expectedOf(const ListingCase& row, ZEAAssistantType type) {
  switch (type) {
    case ZEAAssistantType::ALIBABA:
    case ZEAAssistantType::ANTHROPIC:
      return row.alibaba;
    case ZEAAssistantType::X:
      return row.x;
    case ZEAAssistantType::DEEPSEEK:
      return row.deepseek;
    case ZEAAssistantType::GOOGLE:
      return row.google;
    case ZEAAssistantType::OLLAMA:
      return row.ollama;
    default:
      return row.openai;
  }
}

TEST_P(Wire, TellsTheFailuresOfAListingInItsManner) {
  if (GetParam().listingTarget == nullptr) return;  // it sends nothing, which the listing's own test shows
  Conversation conversation(GetParam());
  for (const ListingCase& row : kListingCases) {
    std::string expected = expectedOf(row, GetParam().type);
    if (!expected.empty() && expected.back() == '@')
      expected.replace(expected.size() - 1, 1, GetParam().listingLocation);
    conversation.server.enqueue({row.status, row.body});

    EXPECT_EQ(listed(conversation), expected) << row.status << " " << row.body;
  }
  EXPECT_EQ(conversation.askWell("q1"), "fine");
  EXPECT_EQ(conversation.lastBody(), requestsOf(GetParam()).bare) << "a listing is no turn";
}

}  // namespace
