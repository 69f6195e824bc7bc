#include <gtest/gtest.h>
#include <qx/qx.h>
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

TEST(StandinModel, RefusesWhatAProviderWouldRefuse) {
  constexpr const char* kChat = "/v1/chat/completions";
  constexpr const char* kGood = R"({"model":"m","messages":[{"role":"user","content":"q"}]})";
  const struct {
    const char* method;
    const char* target;
    const char* authorization;
    const char* body;
    int status;
    const char* expected;
  } cases[] = {
      {"POST", kChat, "Bearer k", kGood, 200, "I am a stand-in, no model."},
      {"POST", "/any/prefix/v1/chat/completions?a=b", "Bearer k", kGood, 200, "I am a stand-in, no model."},
      {"GET", "/v1/models", "Bearer k", "", 200, R"("id":"standin-large","object":"model","created":)"},
      {"GET", "/v1/models", "", "", 401, R"("type":"authentication_error")"},
      {"POST", kChat, "", kGood, 401, R"("type":"authentication_error")"},
      {"POST", kChat, "Bearer ", kGood, 401, R"("type":"authentication_error")"},
      {"POST", kChat, "Basic k", kGood, 401, R"("type":"authentication_error")"},
      {"GET", kChat, "Bearer k", "", 404, "Invalid URL (GET /v1/chat/completions)"},
      {"POST", "/v2/chat", "Bearer k", kGood, 404, "Invalid URL (POST /v2/chat)"},
      {"POST", kChat, "Bearer k", "{", 400, "could not parse the JSON body"},
      {"POST", kChat, "Bearer k", "[]", 400, "You must provide a model parameter."},
      {"POST", kChat, "Bearer k", R"({"model":"","messages":[]})", 400, "You must provide a model parameter."},
      {"POST", kChat, "Bearer k", R"({"model":"m"})", 400, "'messages'"},
      {"POST", kChat, "Bearer k", R"({"model":"m","messages":[]})", 400, "empty array"},
      {"POST", kChat, "Bearer k", R"({"model":"m","messages":[7]})", 400, "has no role"},
      {"POST", kChat, "Bearer k", R"({"model":"m","messages":[{"role":"user"}]})", 400, "has no content"},
      {"POST", kChat, "Bearer k", R"({"model":"m","messages":[{"role":"u","content":""}]})", 400, "value: 'u'"},
      {"POST", kChat, "Bearer k", R"({"model":"m","temperature":2.5,"messages":[]})", 400, "'temperature'"},
  };
  for (const auto& row : cases) {
    standin::Request request{row.method, row.target, {{"authorization", row.authorization}}, row.body};

    const standin::Reply reply = standin::answerAsModel(request);

    EXPECT_EQ(reply.status, row.status) << row.target << " " << row.body;
    EXPECT_NE(reply.body.find(row.expected), std::string::npos) << row.body << " gave " << reply.body;
  }
}

TEST(StandinModel, WritesASelectForTheTableThatTheQuestionMentions) {
  const std::string statements =
      "Be brief.\\nCREATE TABLE `s`.`Categories` (`id` INT, `name` DECIMAL(3, 1), PRIMARY KEY(`id`))\\n"
      "CREATE TABLE `items` (`no` INT, `cat` INT, FOREIGN KEY(`cat`) REFERENCES `s`.`Categories`(`id`))\\n"
      "CREATE TABLE `odd name` (`no` INT, `up` INT, FOREIGN KEY(`up`) REFERENCES `odd name`(`no`))\\n"
      "CREATE VIEW `open_items` (`no` INT)\\nCREATE TABLE broken\\n";
  const struct {
    const char* question;
    const char* sql;
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

TEST(StandinRecord, HidesKeysInHeadersAndInTheQuery) {
  const standin::Request request{"POST",
                                 "/key=1?a=b&key=secret&c=d",
                                 {{"authorization", "Bearer secret"}, {"X-API-KEY", "secret"}, {"A", "b"}},
                                 "{}"};

  const std::string text = standin::describeRequest(request);

  EXPECT_EQ(text, "POST /key=1?a=b&key=(hidden)&c=d\nauthorization: (hidden)\nX-API-KEY: (hidden)\nA: b\n\n{}\n\n");
}

}  // namespace
