// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <qx/qx.h>
#include <standin/reply_rules.h>
#include <standin/request_record.h>
#include <standin/standin_model.h>
#include <standin/zea_standin.h>

#include <future>
#include <optional>

namespace {

using namespace std::chrono_literals;

std::int32_t get(const std::string& url, std::string& body) {
  CMRestSession session;
  ICSAppFactory* factory = QX::obtainAppFactory();
  const std::unique_ptr<ICSRestClient> client(
      factory->obtainRestClientFactory()->createRestClient(factory, nullptr, &session));
  CMRestGetRequest request;
  request.setURL(url);
  CMRestResourceResponse* received = nullptr;
  const std::int32_t code = client->restGet(&request, &received);
  const std::unique_ptr<CMRestResourceResponse> response(received);
  body = response->getBufferString();
  return code;
}

TEST(StandinServer, UsesUpTheScriptInItsOrderAndRecordsEachRequest) {
  standin::Server server;
  standin::Reply failed;
  failed.status = 503;
  failed.body = "busy";
  standin::Reply cut;
  cut.body = "0123456789";
  cut.cutAfterBytes = 4;
  standin::Reply closed;
  closed.closeUnanswered = true;
  for (const auto& reply : {failed, cut, closed}) server.enqueue(reply);

  std::string body;
  const std::int32_t first = get(server.url() + "/a%20b?c=%2F", body);
  const std::string firstBody = body;
  const std::int32_t second = get(server.url() + "/second", body);
  const std::int32_t third = get(server.url() + "/third", body);

  EXPECT_EQ(first, 503);
  EXPECT_EQ(firstBody, "busy");
  EXPECT_EQ(second, CMRestCode::ClosedInsideReply);
  EXPECT_EQ(third, CMRestCode::ClosedBeforeReply);
  ASSERT_EQ(server.requests().size(), 3U);
  EXPECT_EQ(server.requests()[0].target, "/a%20b?c=%2F");
  EXPECT_EQ(server.requests()[2].target, "/third");
}

TEST(StandinServer, EndsADelayWhenItIsDestroyed) {
  auto server = std::make_optional<standin::Server>();
  std::promise<void> arrived;
  server->observe([&arrived](const standin::Request&) { arrived.set_value(); });
  standin::Reply reply;
  reply.delay = 1h;
  server->enqueue(reply);
  std::string body;
  auto call = std::async(std::launch::async, [&, url = server->url()] { return get(url, body); });
  arrived.get_future().wait();

  server.reset();

  EXPECT_EQ(call.get(), CMRestCode::ClosedBeforeReply);
}

TEST(StandinServer, RefusesAPortThatIsTaken) {
  const standin::Server first;

  EXPECT_THROW(standin::Server second(first.port()), std::runtime_error);
}

using Headers = std::vector<std::pair<std::string, std::string>>;

TEST(StandinModel, AnswersAndRefusesAsEachProviderDoes) {
  const Headers bearer = {{"authorization", "Bearer k"}};
  const Headers anthropic = {{"x-api-key", "k"}, {"anthropic-version", "2023-06-01"}};
  const std::string turn = R"("messages":[{"role":"user","content":"q"}]})";
  const std::string plain = R"({"model":"m",)" + turn;
  const std::string limited = R"({"model":"m","max_tokens":9,)" + turn;
  const std::string hot = R"({"model":"m","max_tokens":9,"temperature":2,)" + turn;
  const std::string system = R"({"model":"m","max_tokens":9,"messages":[{"role":"system","content":"s"},)";
  const std::string developer = R"({"model":"m","messages":[{"role":"developer","content":"s"},)";
  const std::string user = R"({"role":"user","content":"q"}]})";
  const std::string contents = R"("contents":[{"role":"user","parts":[{"text":"q"}]}]})";
  constexpr const char* kAnswer = "I am a stand-in, no model.";
  constexpr const char* kOpenAi = "POST /v1/chat/completions";
  constexpr const char* kDeepseek = "POST /chat/completions";
  constexpr const char* kAnthropic = "POST /v1/messages";
  constexpr const char* kGoogle = "POST /v1beta/models/m:generateContent?a=b&key=k";
  constexpr const char* kOllama = "POST /api/chat";
  const struct {
    std::string line;
    Headers headers;
    std::string body;
    int status;
    const char* expected;
  } cases[] = {
      {kOpenAi, bearer, developer + user, 200, kAnswer},
      {kOpenAi, {}, plain, 401, R"("type":"invalid_request_error","code":"invalid_api_key")"},
      {kOpenAi, {{"Authorization", "Basic k"}}, plain, 401, "invalid_api_key"},
      {kOpenAi, bearer, "{", 400, "could not parse the JSON body"},
      {kOpenAi, bearer, "[]", 400, "'model'"},
      {kOpenAi, bearer, R"({"model":7,)" + turn, 400, "'model': it must be a string"},
      {kOpenAi, bearer, R"({"model":"m"})", 400, R"('messages'.","type":"invalid_request_error","code":null)"},
      {kOpenAi, bearer, R"({"model":"m","messages":[]})", 400, "empty array"},
      {kOpenAi, bearer, R"({"model":"m","messages":[7]})", 400, "'role'"},
      {kOpenAi, bearer, R"({"model":"m","messages":[{"role":"user"}]})", 400, "'content'"},
      {kOpenAi, bearer, R"({"model":"m","messages":[{"role":"u","content":""}]})", 400, "'u' is none"},
      {kOpenAi, bearer, hot, 200, kAnswer},
      {kOpenAi, bearer, R"({"stream":true,"model":"m",)" + turn, 400, "'stream'"},
      {"POST /prefix/v1/chat/completions", bearer, plain, 404, "Invalid URL (POST /prefix/v1/chat/completions)"},
      {"GET /api/v3/models", bearer, "", 404, "unknown_url"},
      {kOpenAi,
       {{"Authorization", "Bearer xai-k"}},
       "{}",
       400,
       R"({"code":"Client specified an invalid argument","error":"Missing)"},
      {"POST /compatible-mode/v1/chat/completions", bearer, hot, 400, "'temperature'"},
      {kDeepseek, bearer, developer + user, 400, "'developer' is none"},
      {kDeepseek, bearer, system + user, 200, kAnswer},
      {kAnthropic, {{"x-api-key", "k"}}, limited, 400, "anthropic-version"},
      {kAnthropic, bearer, limited, 401, R"({"type":"error","error":{"type":"authentication_error","message":)"},
      {kAnthropic, anthropic, plain, 400, "'max_tokens'"},
      {kAnthropic, anthropic, hot, 400, "'temperature'"},
      {kAnthropic, anthropic, system + user, 400, "'system' is none"},
      {"GET /v1/models", {{"x-api-key", "k"}}, "", 400, R"("type":"invalid_request_error","message":"anthropic)"},
      {kGoogle, {}, R"({"systemInstruction":{"parts":[{"text":"s"}]},)" + contents, 200, kAnswer},
      {kGoogle, {}, R"({"system_instruction":"s",)" + contents, 400, R"("status":"INVALID_ARGUMENT")"},
      {kGoogle, {}, R"({"generationConfig":{"temperature":"hot"},)" + contents, 400, "'temperature'"},
      {kGoogle, {}, R"({"contents":[{"role":"assistant","parts":{"text":""}}]})", 400, "'assistant' is none"},
      {"POST /v1beta/models/m:generateContent?key=", {}, "{" + contents, 403, R"("code":403,"message":)"},
      {kOllama, {}, plain, 400, R"({"error":"Missing required parameter: 'stream'."})"},
      {kOllama, {}, R"({"stream":false,)" + turn, 400, "'model'"},
      {kOllama, {}, R"({"options":[],"model":"m","stream":false,)" + turn, 400, "'options'"},
      {kOllama, bearer, R"({"model":"m","stream":false,)" + turn, 400, "takes none"},
  };
  for (const auto& row : cases) {
    const std::size_t space = row.line.find(' ');
    const standin::Request request{row.line.substr(0, space), row.line.substr(space + 1), row.headers, row.body};

    const standin::Reply reply = standin::answerAsModel(request);

    EXPECT_EQ(reply.status, row.status) << row.line << " " << row.body;
    EXPECT_NE(reply.body.find(row.expected), std::string::npos) << row.line << row.body << " gave " << reply.body;
  }
}

TEST(StandinModel, WritesASelectForTheTableThatTheQuestionMentions) {
  const std::string statements =
      "Be brief.\\nCREATE TABLE `s`.`Categories` (`id` INT, `name` DECIMAL(3, 1), PRIMARY KEY(`id`))\\n"
      "CREATE TABLE `items` (`no` INT, `cat` INT, FOREIGN KEY(`cat`) REFERENCES `s`.`Categories`(`id`))\\n"
      "CREATE TABLE `odd name` (`no` INT, `up` INT, FOREIGN KEY(`up`) REFERENCES `odd name`(`no`))\\n"
      "CREATE VIEW `open_items` (`no` INT)\\nCREATE TABLE broken\\n";
  const struct {
    const char *question, *sql;
  } cases[] = {
      {"all my ITEM please",
       "SELECT items.no, items.cat, Categories.name\\nFROM items\\n"
       "JOIN s.Categories ON Categories.id = items.cat\\nLIMIT 20;"},
      {"Which category?", "SELECT Categories.id, Categories.name\\nFROM s.Categories\\nLIMIT 20;"},
      {"open items", "SELECT open_items.no\\nFROM open_items\\nLIMIT 20;"},
      {"odd names", R"(JOIN \"odd name\" AS referenced ON referenced.no = \"odd name\".up)"},
      {"nothing known", "\\nFROM s.Categories\\n"},
  };
  for (const auto& row : cases) {
    standin::Request request{"POST", "/v1/chat/completions", {{"Authorization", "Bearer k"}}, {}};
    request.body = R"({"model":"m","messages":[{"role":"developer","content":")" + statements +
                   R"("},{"role":"user","content":")" + row.question + R"("}]})";

    const standin::Reply reply = standin::answerAsModel(request);

    EXPECT_NE(reply.body.find(row.sql), std::string::npos) << row.question << " gave " << reply.body;
    EXPECT_NE(reply.body.find("3 tables (Categories, items, odd name) and 1 view (open_items)"), std::string::npos);
  }
}

TEST(StandinRules, AnswerAsTheyAreWrittenInEachFormat) {
  standin::ReplyRules rules(R"([{"contains": "BUSY", "status": 429, "answer": "Too fast.", "times": 2},
                                {"contains": "busy", "answer": "Now I can."},
                                {"contains": "slow", "delayMs": 70, "cutAfterBytes": 5},
                                {"contains": "gone", "close": true},
                                {"contains": "page", "status": 502, "body": "<html>"}])");
  const auto ask = [&rules](const std::string& path, const std::string& body) {
    return rules.answer({"POST", path, {{"Authorization", "Bearer k"}, {"anthropic-version", "1"}}, body});
  };
  const auto openAi = [&ask](const std::string& question) {
    return ask("/v1/chat/completions", R"({"model":"m","messages":[{"role":"user","content":")" + question + R"("}]})");
  };
  for (const int status : {429, 429, 200, 200}) EXPECT_EQ(openAi("Are you busy?")->status, status);
  EXPECT_NE(openAi("busy")->body.find(R"("content":"Now I can.")"), std::string::npos);
  EXPECT_EQ(openAi("slow")->delay.count(), 70);
  EXPECT_EQ(openAi("slow")->cutAfterBytes, 5U);
  EXPECT_TRUE(openAi("gone")->closeUnanswered);
  EXPECT_EQ(openAi("page")->status, 502);
  EXPECT_EQ(openAi("page")->body, "<html>");
  EXPECT_FALSE(openAi("other"));
  const auto google =
      ask("/v1beta/models/m:generateContent?key=k", R"({"contents":[{"role":"user","parts":[{"text":"busy"}]}]})");
  EXPECT_NE(google->body.find(R"("parts":[{"text":"Now I can."}])"), std::string::npos) << google->body;
}

TEST(StandinRules, AreRefusedWithASentence) {
  const std::pair<const char*, const char*> cases[] = {
      {"{}", "The rules are no JSON array."},
      {"[", "The rules are no JSON array."},
      {"[{}, 7]", "Rule 2 cannot be used: it is no object."},
      {R"([{"status": 99}])", "Rule 1 cannot be used: status is too small."},
      {R"([{"times": 0}])", "Rule 1 cannot be used: times is too small."},
      {R"([{"answer": 1}])", "Rule 1 cannot be used: "},
  };
  for (const auto& [text, sentence] : cases) {
    try {
      const standin::ReplyRules rules(text);
      ADD_FAILURE() << text;
    } catch (const std::runtime_error& error) {
      EXPECT_EQ(std::string(error.what()).rfind(sentence, 0), 0U) << error.what();
    }
  }
}

TEST(StandinRecord, HidesKeysInHeadersAndInTheQuery) {
  const Headers headers = {{"authorization", "Bearer secret"}, {"X-API-KEY", "secret"}, {"A", "b"}};
  const standin::Request request{"POST", "/key=1?a=b&key=secret&c=d", headers, "{}"};

  const std::string text = standin::describeRequest(request);

  EXPECT_EQ(text, "POST /key=1?a=b&key=(hidden)&c=d\nauthorization: (hidden)\nX-API-KEY: (hidden)\nA: b\n\n{}\n\n");
}

}  // namespace
