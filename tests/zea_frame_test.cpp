// SPDX-License-Identifier: Apache-2.0
// What all assistants have in common: making and freeing them, hosts, keys, temperature, memory, properties.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <map>

#include "support/providers.h"

namespace {

class Providers : public testing::TestWithParam<Provider> {};
INSTANTIATE_TEST_SUITE_P(All, Providers, testing::ValuesIn(kProviders), nameOf);

/// A pool of the host's own that tells when it is deleted.
class WatchedPool : public ICSHTTPPoolCenter {
 public:
  explicit WatchedPool(bool& deleted) : deleted_(deleted) {}
  ~WatchedPool() override { deleted_ = true; }

 private:
  bool& deleted_;
};

/// A memory of the host's own.
class HostMemory : public IZEAAssistantMemory {
 public:
  void setStructureDocument(const std::string& text) override { document = text; }
  std::string obtainStructureDocument() const override { return document; }
  void addEntry(std::int32_t role, const std::string& text) override { entries.push_back({role, text}); }
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t limit) const override {
    limits.push_back(limit);
    return entries;
  }

  std::string document;
  std::vector<ZEAAssistantMemoryEntry> entries;
  mutable std::vector<std::int32_t> limits;
};

TEST_P(Providers, StartWithTheirDefaultHostAndFollowAHostChange) {
  const auto assistant = newAssistant(GetParam().type, "k", " \t");

  EXPECT_EQ(get(*assistant, "api_host").stringValue(), GetParam().defaultHost);
  EXPECT_EQ(assistant->obtainDefaultHost(), std::strstr(GetParam().defaultHost, "//") + 2);
  EXPECT_EQ(assistant->obtainEndpointURL(), std::string(GetParam().defaultHost) + GetParam().endpoint);

  set(*assistant, "api_host", "  http://other:8080 \n");

  EXPECT_EQ(assistant->obtainEndpointURL(), std::string("http://other:8080") + GetParam().endpoint);
}

TEST_P(Providers, HoldTheTemperatureInTheirRangeOnceItIsAssigned) {
  const auto assistant = newAssistant(GetParam().type, "k", "");
  const auto settled = [&](double temperature) {
    set(*assistant, "temperature", temperature);
    return get(*assistant, "temperature").doubleValue();
  };
  const double hottest = GetParam().hottest;

  EXPECT_EQ(get(*assistant, "temperature").doubleValue(), 1.0);
  EXPECT_EQ(settled(2.5), hottest);
  EXPECT_EQ(settled(2.0), hottest);
  EXPECT_EQ(settled(1.995), hottest == 1.0 ? 1.0 : 1.995);
  EXPECT_EQ(settled(0.5), 0.5);
  EXPECT_EQ(settled(-0.5), 0.0);
  EXPECT_EQ(settled(std::nan("")), 0.0);
}

TEST_P(Providers, SendTheKeyWhereItBelongsAndAChangedKeyFromTheNextRequestOn) {
  Conversation conversation(GetParam());
  const auto keyOfLastRequest = [&] {
    const standin::Request request = conversation.server.requests().back();
    return GetParam().keyHeader != nullptr ? request.header(GetParam().keyHeader) : request.target;
  };
  const bool bearer = GetParam().type != ZEAAssistantType::ANTHROPIC;
  const bool isInQuery = GetParam().type == ZEAAssistantType::GOOGLE;  // where it goes out as it is

  conversation.askWell("one");
  const std::string first = keyOfLastRequest();
  set(*conversation.assistant, "api_key", " k 2 \n");
  conversation.askWell("two");
  const std::string second = keyOfLastRequest();

  if (isInQuery) {
    EXPECT_EQ(first, "/v1beta/models/m:generateContent?key=k");
    EXPECT_EQ(second, "/v1beta/models/m:generateContent?key=%20k%202%20%0A");
  } else if (GetParam().keyHeader == nullptr) {
    EXPECT_EQ(first + second, std::string(GetParam().chatTarget) + GetParam().chatTarget);
    EXPECT_EQ(conversation.server.requests().back().header("Authorization"), "");
  } else {
    EXPECT_EQ(first, bearer ? "Bearer k" : "k");
    EXPECT_EQ(second, bearer ? "Bearer  k 2" : "k 2");
  }
  EXPECT_EQ(conversation.server.requests().back().header("anthropic-version"),
            GetParam().type == ZEAAssistantType::ANTHROPIC ? "2023-06-01" : "");
}

TEST_P(Providers, GoOnWithAMemoryThatAnotherAssistantLeft) {
  Conversation first(kProviders[0]);
  first.askWell("one");
  Owned<IZEAAssistantMemory> memory(first.assistant->releaseMemory());
  EXPECT_EQ(first.assistant->releaseMemory(), memory.get());
  first.assistant.reset();
  Conversation second(GetParam());

  second.assistant->setMemory(memory.get());
  second.askWell("two");

  EXPECT_NE(second.lastBody().find(R"("one")"), std::string::npos);
  EXPECT_NE(second.lastBody().find(R"("fine")"), std::string::npos);
  const auto entries = memory->obtainEntries(20);
  ASSERT_EQ(entries.size(), 4U);
  EXPECT_EQ(entries[2].role, ZEARoleUser);
  EXPECT_EQ(entries[3].text, "fine");
  second.assistant.reset();  // the memory goes last
}

TEST(Factory, GivesNullForANumberThatNamesNoProviderAndLeavesThePoolAlone) {
  bool deleted = false;
  WatchedPool pool(deleted);

  const auto afterLast = static_cast<ZEAAssistantType>(std::size(kProviders));
  EXPECT_EQ(ZEACreateAssistant(afterLast, &pool, "", "", nullptr), nullptr) << "or a provider without a row";
  EXPECT_EQ(ZEACreateAssistant(static_cast<ZEAAssistantType>(0xFFFFFFFFU), &pool, "", "", nullptr), nullptr);
  EXPECT_FALSE(deleted);
  ZEAFreeObject(nullptr);
}

TEST(Factory, GivesAnAssistantThatOwnsItsPoolButNeverTheHostsMemory) {
  HostMemory memory;
  for (const Provider& provider : kProviders) {
    bool deleted = false;

    ZEAFreeObject(ZEACreateAssistant(provider.type, new WatchedPool(deleted), "k", "", &memory));

    EXPECT_TRUE(deleted) << provider;
  }
  EXPECT_TRUE(memory.entries.empty());
}

TEST(Memory, OfTheHostIsAskedForTheStructureAndTwentyTurnsAndSentInItsOrder) {
  HostMemory memory;
  memory.document = R"([{"catalog_name":"c","schemas":[]}])";
  memory.entries = {{7, "odd role"}, {ZEARoleAssistant, "said"}};
  Conversation conversation(kProviders[0]);

  conversation.assistant->setMemory(&memory);
  conversation.askWell("q");

  EXPECT_EQ(conversation.lastBody(), R"({"model":"m","messages":[{"role":"developer","content":"USE CATALOG `c`\n\n"},)"
                                     R"({"role":"user","content":"odd role"},{"role":"assistant","content":"said"},)"
                                     R"({"role":"user","content":"q"}]})");
  EXPECT_EQ(memory.limits, std::vector<std::int32_t>{20});
  ASSERT_EQ(memory.entries.size(), 4U);
  conversation.assistant->setMemory(nullptr);
  conversation.askWell("again");
  EXPECT_EQ(memory.entries.size(), 6U) << "a null memory is refused";
}

/// A memory that changes the properties of its assistant whenever it is asked.
class MeddlingMemory : public HostMemory {
 public:
  std::string obtainStructureDocument() const override {
    meddle("document");
    return HostMemory::obtainStructureDocument();
  }
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t limit) const override {
    meddle("entries");
    return HostMemory::obtainEntries(limit);
  }
  void meddle(const std::string& word) const {
    const std::string text = word + " and more than a string keeps within itself";
    assistant->updateProperties([&](IZEAProperties* properties) {
      for (const char* key : {"user_instructions", "model", "api_key"}) EXPECT_TRUE(properties->setValue(key, text));
      EXPECT_TRUE(properties->setValue("system_instructions", CMVariantMap{{"name", "system " + text}}));
      EXPECT_TRUE(properties->setValue("api_host", host));
    });
  }

  IZEAAssistant* assistant = nullptr;
  std::string host;
};

// Whoever cancelled ahead of the transfer waited for the answer all the same.
TEST(Cancel, EndsAMessageWhoseTextIsBeingMade) {
  struct CancellingMemory : HostMemory {
    std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t limit) const override {
      if (source != nullptr) source->cancel();
      return HostMemory::obtainEntries(limit);
    }
    QXCancelSource* source = nullptr;
  };
  const auto source = std::make_shared<QXCancelSource>();
  standin::Server server;
  CancellingMemory memory;
  const Owned<IZEAAssistant> assistant(
      ZEACreateAssistant(ZEAAssistantType::OLLAMA, QX::createHTTPPoolCenter(source), "", server.url(), &memory));
  memory.source = source.get();

  EXPECT_EQ(assistant->addMessage("lost").second, "The request was cancelled.");
  EXPECT_TRUE(server.requests().empty());
  memory.source = nullptr;
  server.enqueue({200, R"({"message":{"role":"assistant","content":"fine"}})"});
  const auto [reply, failure] = assistant->addMessage("again");
  const Owned<IZEAMessage> owned(reply);
  EXPECT_EQ(failure, "");
}

// The library used to look at the properties before it had asked for the turns, and then sent freed memory, to the
// host that had been set before.
TEST_P(Providers, SendWhatAMemorySetsWhileItIsAsked) {
  Conversation conversation(GetParam());
  MeddlingMemory memory;
  memory.assistant = conversation.assistant.get();
  memory.host = conversation.server.url();
  conversation.assistant->setMemory(&memory);
  set(*conversation.assistant, "api_host", "http://127.0.0.1:0");

  ASSERT_EQ(conversation.askWell("q"), "fine");

  const standin::Request request = conversation.server.requests().at(0);
  const std::string text = "entries and more than a string keeps within itself";
  EXPECT_NE(request.body.find('"' + text + R"(\n\nsystem )" + text + R"(\n)"), std::string::npos) << request.body;
  EXPECT_EQ((request.target + request.body).find("document"), std::string::npos);
  if (GetParam().keyHeader != nullptr) {
    EXPECT_NE(request.header(GetParam().keyHeader).find(text), std::string::npos);
  }
}

// A question without a model was sent.
TEST(Memory, ThatEmptiesTheModelKeepsTheQuestionFromBeingSent) {
  struct EmptyingMemory : HostMemory {
    std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t) const override {
      set(*assistant, "model", "");
      return {};
    }
    IZEAAssistant* assistant = nullptr;
  };
  Conversation conversation(kProviders[0]);
  EmptyingMemory memory;
  memory.assistant = conversation.assistant.get();
  conversation.assistant->setMemory(&memory);

  EXPECT_EQ(conversation.assistant->addMessage("q").second, "Model is empty: p/v1/chat/completions");
  EXPECT_TRUE(conversation.server.requests().empty());
}

TEST(Memory, OfTheLibraryKeepsAllTurnsAndTheLatestStructure) {
  Conversation conversation(kProviders[0]);
  for (int turn = 0; turn < 30; ++turn) conversation.askWell("q" + std::to_string(turn));
  set(*conversation.assistant, "db_structure", "[]");
  set(*conversation.assistant, "db_structure", "{ }");
  const Owned<IZEAAssistantMemory> memory(conversation.assistant->releaseMemory());

  const auto entries = memory->obtainEntries(20);

  ASSERT_EQ(entries.size(), 60U);
  for (std::size_t index = 0; index < entries.size(); ++index) {
    EXPECT_EQ(entries[index].role, static_cast<std::int32_t>(index % 2));
  }
  EXPECT_EQ(entries[58].text, "q29");
  EXPECT_EQ(memory->obtainStructureDocument(), "{ }");
  EXPECT_EQ(conversation.server.connectionCount(), 1U);
  conversation.assistant.reset();
}

TEST(Properties, RefuseWrongKindsAndUnknownKeysAndKeepWhatTheyHad) {
  constexpr char kStructure[] = R"([{"catalog_name":"c","schemas":[]}])";
  const struct {
    const char* key;
    CMVariant value;
    bool accepted;
  } kCases[] = {
      {"temperature", 1, false},
      {"temperature", "1.0", false},
      {"temperature", 0.5, true},
      {"use_temperature", 1.0, false},
      {"use_temperature", 0, true},
      {"api_host", 1, false},
      {"api_key", CMVariant(), false},
      {"model", CMVariantMap(), false},
      {"user_instructions", 1, false},
      {"system_instructions", "text", false},
      {"system_instructions", CMVariantMap{{"a", 1}}, true},
      {"db_structure", "", false},
      {"db_structure", "{", false},
      {"db_structure", "{}", true},
      {"db_structure", 1, true},
      {"db_structure", CMVariant(), true},
      {"combined_instructions", "x", false},
      {"Model", "m", false},
      {"max_tokens", 5, false},
  };
  for (const auto& row : kCases) {
    const auto assistant = newAssistant(ZEAAssistantType::OPENAI_v1, "k", "");
    const Owned<IZEAProperties> properties(assistant->obtainProperties());
    EXPECT_TRUE(properties->setValue("db_structure", kStructure));
    const std::string before = properties->obtainValue(row.key).stringValue();
    const bool isStructureReplaced = row.accepted && row.value.stringValue() == "{}";

    EXPECT_EQ(properties->setValue(row.key, row.value), row.accepted) << row.key;
    if (!row.accepted) {
      EXPECT_EQ(properties->obtainValue(row.key).stringValue(), before) << row.key;
    }
    EXPECT_EQ(properties->obtainValue("combined_instructions").stringValue(),
              isStructureReplaced ? "" : "USE CATALOG `c`\n\n")
        << row.key;
  }
}

TEST(Properties, ReadBackAsTheyWereSet) {
  const auto assistant = newAssistant(ZEAAssistantType::OPENAI_v1, "k", "");
  const struct {
    const char* key;
    CMVariant fresh;
    CMVariant set;
    CMVariant read;
  } kCases[] = {
      {"combined_instructions", "", "x", ""},
      {"api_host", "https://api.openai.com", "h", "https://h"},
      {"api_key", "k", " s ", " s "},
      {"model", "", " m\n", " m\n"},
      {"user_instructions", "", "u", "u"},
      {"use_temperature", 0, 2, 1},
      {"temperature", 1.0, 0.25, 0.25},
      {"system_instructions", CMVariantMap(), CMVariantMap{{"a", "A"}, {"b", 7}}, CMVariantMap{{"a", "A"}}},
      {"db_structure", CMVariantList(), "[]", CMVariantList()},
  };
  const auto json = [](const CMVariant& value) {
    return std::unique_ptr<COJson>(qxCreateCOJsonFromCMVariant(CMVariantList{value}))->obtainJsonString();
  };
  const auto description = Owned<IZEAProperties>(assistant->obtainProperties())->obtainDescription();
  const std::map<std::string, std::string> described(description.begin(), description.end());
  EXPECT_EQ(described.size(), std::size(kCases)) << "each key has a row";
  for (const auto& row : kCases) {
    EXPECT_EQ(described.count(row.key), 1U) << row.key;
    EXPECT_EQ(json(get(*assistant, row.key)), json(row.fresh)) << row.key;
    set(*assistant, row.key, row.set);
    EXPECT_EQ(json(get(*assistant, row.key)), json(row.read)) << row.key;
  }
}

std::vector<std::string> gFailedChecks;

TEST(Properties, ReportFailedChecksToDevelopersByTheirCondition) {
  const struct {
    const char* key;
    CMVariant value;
    const char* condition;
  } kCases[] = {
      {"model", 1, "value.getValueType() == CMVariant::ValueType::String"},
      {"use_temperature", 1.0, "value.getValueType() == CMVariant::ValueType::Int"},
      {"temperature", 1, "value.getValueType() == CMVariant::ValueType::Double"},
      {"system_instructions", 1, "value.getValueType() == CMVariant::ValueType::Map"},
      {"system_instructions", CMVariantMap{{"a", 1}}, "kv.second.getValueType() == CMVariant::ValueType::String"},
      {"db_structure", "[", "json.getIsValidJson()"},
      {"combined_instructions", "x", "false"},
  };
  const auto assistant = newAssistant(ZEAAssistantType::OPENAI_v1, "k", "");
  qxSetAssertionHandler([](const char* condition, const char* path, int) {
    gFailedChecks.push_back(std::string(path) + " " + condition);
  });

  for (const auto& row : kCases) {
    gFailedChecks.clear();
    set(*assistant, row.key, row.value);
    EXPECT_EQ(gFailedChecks,
              std::vector<std::string>{std::string("src/zea_assistant_properties.cpp ") + row.condition});
  }
  qxSetAssertionHandler(nullptr);
}

TEST(Properties, ThatWereRejectedCountAsNeverAssigned) {
  Conversation conversation(kProviders[0]);
  set(*conversation.assistant, "temperature", 1);
  set(*conversation.assistant, "use_temperature", 1);

  conversation.askWell("q");

  EXPECT_EQ(conversation.lastBody(), R"({"model":"m","messages":[{"role":"user","content":"q"}]})");
}

TEST(Properties, WithABlankHostSendTheKeyNowhere) {
  // The path's first segment was taken for the host, and the key would have gone there.
  for (const Provider& provider : kProviders) {
    Conversation conversation(provider);
    set(*conversation.assistant, "api_host", " ");

    const std::string sentence = QX::obtainAppFactory()
                                     ->obtainErrorService()
                                     ->obtainErrorTranslator()
                                     ->translateError(CMRestCode::InvalidURL)
                                     .message;

    EXPECT_EQ(conversation.ask("q"), "failed: " + sentence) << provider;
  }
}

TEST(Properties, PutASchemeInFrontOfAHostThatHasNone) {
  const struct {
    const char* host;
    const char* secure;
    const char* local;  // with OLLAMA
  } kCases[] = {
      {"host", "https://host", "http://host"},
      {" host:80/base/ ", "https://host:80/base/", "http://host:80/base/"},
      {"HTTP://Host", "HTTP://Host", "HTTP://Host"},
      {"hTTps://h", "hTTps://h", "hTTps://h"},
      {"ftp://h", "https://ftp://h", "http://ftp://h"},
      {"x\nhttp://h", "https://x\nhttp://h", "http://x\nhttp://h"},
  };
  for (const auto& row : kCases) {
    for (const bool local : {false, true}) {
      const auto type = local ? ZEAAssistantType::OLLAMA : ZEAAssistantType::X;
      const char* const expected = local ? row.local : row.secure;
      const auto made = newAssistant(type, "k", row.host);
      const auto changed = newAssistant(type, "k", "elsewhere");

      set(*changed, "api_host", row.host);

      EXPECT_EQ(get(*made, "api_host").stringValue(), expected);
      EXPECT_EQ(get(*changed, "api_host").stringValue(), expected);
    }
  }
}

TEST(Properties, CopyIsDetachedButForTheStructure) {
  const auto assistant = newAssistant(ZEAAssistantType::ANTHROPIC, "k", "");
  set(*assistant, "max_tokens", 77);
  const Owned<IZEAProperties> copy(assistant->obtainProperties());

  EXPECT_TRUE(copy->setValue("model", "other"));
  EXPECT_TRUE(copy->setValue("temperature", 9.0));
  EXPECT_TRUE(copy->setValue("db_structure", R"([{"catalog_name":"c","schemas":[]}])"));

  EXPECT_EQ(get(*assistant, "model").stringValue(), "");
  EXPECT_EQ(copy->obtainValue("temperature").doubleValue(), 9.0);
  EXPECT_EQ(get(*assistant, "combined_instructions").stringValue(), "USE CATALOG `c`\n\n");
  EXPECT_TRUE(copy->obtainValue("max_tokens").isNull());
  const auto local = newAssistant(ZEAAssistantType::OLLAMA, "", "");
  const Owned<IZEAProperties> localCopy(local->obtainProperties());
  EXPECT_TRUE(localCopy->setValue("api_host", "h"));
  EXPECT_EQ(localCopy->obtainValue("api_host").stringValue(), "http://h");
  EXPECT_FALSE(copy->setValue("max_tokens", 1));
  EXPECT_EQ(copy->obtainDescription().back().first, "combined_instructions");
}

TEST(Properties, DescribeThemselves) {
  const auto description = [](ZEAAssistantType type) {
    std::vector<std::pair<std::string, std::string>> pairs;
    newAssistant(type, "", "")->updateProperties([&](IZEAProperties* live) { pairs = live->obtainDescription(); });
    return pairs;
  };

  const auto plain = description(ZEAAssistantType::GOOGLE);
  const auto anthropic = description(ZEAAssistantType::ANTHROPIC);

  std::string structure;
  std::string others;
  for (const auto& [key, text] : plain) key == "db_structure" ? structure = text : others += key + "=" + text + " ";
  EXPECT_EQ(structure,
            R"(CMVariant - [{"catalog_id":"optional","catalog_name":"optional","schemas":[{"schema_id":"optional",)"
            R"("schema_name":"optional","tables":[{"name":"","fields":[{"name":"","type":""}],"pkeys":["optional"],)"
            R"("fkeys":[{"fields":[""],"ref_schema":"optional","ref_table":"","ref_fields":[""]}]}],)"
            R"("views":[null],"mviews":[null]}]}])");
  EXPECT_EQ(others,
            "api_host=string api_key=string model=string use_temperature=boolean temperature=double "
            "user_instructions=string system_instructions=CMVariantMap(string, string) "
            "combined_instructions=string - read only ");
  EXPECT_EQ(anthropic.size(), plain.size() + 1);
  EXPECT_EQ(anthropic.back(), (std::pair<std::string, std::string>("max_tokens", "integer")));
}

TEST(Properties, TakeEffectEvenWhenTheHostsFunctionThrowsHalfway) {
  // The key was in the store but never reached the session, and no later update noticed the difference.
  Conversation conversation(kProviders[0]);

  EXPECT_THROW(conversation.assistant->updateProperties([](IZEAProperties* properties) {
    EXPECT_TRUE(properties->setValue("api_key", "new"));
    EXPECT_TRUE(properties->setValue("temperature", 5.0));
    throw std::runtime_error("host");
  }),
               std::runtime_error);
  EXPECT_THROW(conversation.assistant->updateProperties({}), std::bad_function_call);
  conversation.askWell("q");

  EXPECT_EQ(conversation.server.requests().back().header("Authorization"), "Bearer new");
  EXPECT_EQ(get(*conversation.assistant, "temperature").doubleValue(), 2.0);
}

TEST(Settings, ReachAssistantsThatExistAlready) {
  Conversation conversation(kProviders[0]);
  CMRestGlobalSettings settings;
  settings.userAgent = "host/1";
  settings.maxResponseBytes = 10;

  ZEASetHTTPSettings(settings);
  const std::string tooLarge = conversation.askWell("one");
  ZEASetHTTPSettings({});
  const std::string fine = conversation.askWell("two");

  EXPECT_EQ(tooLarge.find("failed: "), 0U);
  EXPECT_EQ(conversation.server.requests().front().header("User-Agent"), "host/1");
  EXPECT_EQ(fine, "fine");
}

TEST(LocalizationInfo, IsCopiedWholeByBothAssignments) {
  const char* const source = "text";
  ZEACallbackLocalizationInfo from;
  from.sourceText = source;
  std::memset(from.localizedText, 'x', sizeof from.localizedText);
  from.localizedText[2] = '\0';
  ZEACallbackLocalizationInfo copied;
  ZEACallbackLocalizationInfo moved;

  copied = from;
  moved = std::move(from);

  for (const auto* info : {&copied, &moved, &from}) {
    EXPECT_EQ(info->sourceText, source);
    EXPECT_EQ(std::string(info->localizedText, 2), "xx");
    EXPECT_EQ(info->localizedText[2], '\0');
    EXPECT_EQ(info->localizedText[1023], 'x');
  }
}

}  // namespace
