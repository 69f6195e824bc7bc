// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "loopback/raw_server.h"
#include "loopback/tls_identity.h"
#include "qx/qx.h"
#include "standin/zea_standin.h"
#include "support/rest_caller.h"

namespace {

using loopback::RawEnd;
using loopback::RawServer;
using loopback::TestAuthority;
using support::Answer;
using support::Caller;
using support::messageOf;
using support::okReply;

TEST(RestClient, SendsAPostExactlyAsItIsAskedFor) {
  RawServer server({{{okReply("{}")}}});
  Caller caller;
  caller.settings.userAgent = "Tool/1";
  caller.session.setAuthorizationHeaderValue(" Bearer abc\r\n");
  COJson body(R"({"a":"x","b":[1]})");

  const Answer answer = caller.post(server.url() + "/v1/chat", &body);

  EXPECT_EQ(answer.code, CMRestCode::Success);
  EXPECT_EQ(server.requests().at(0), "POST /v1/chat HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.port()) +
                                         "\r\nAccept: */*\r\nAuthorization: Bearer abc\r\nUser-Agent: Tool/1\r\n"
                                         "Accept-Encoding: gzip\r\nContent-Type: application/json\r\n"
                                         "Content-Length: 17\r\n\r\n{\"a\":\"x\",\"b\":[1]}");
}

TEST(RestClient, EncodesWhatMayNotStandInAURL) {
  const std::vector<std::tuple<std::string, CMRestParamList, std::string>> cases = {
      {"", {}, "/"},
      {"/a b/\xC3\xBC", {}, "/a%20b/%C3%BC"},
      {"/a%2Fb%zz%", {}, "/a%2Fb%25zz%25"},
      {"/m:go?x=1 2#part", {}, "/m:go?x=1%202"},
      {"/a\r\nHost: evil", {}, "/a%0D%0AHost:%20evil"},
      {"/a\"<>\\^`{|}[]", {}, "/a%22%3C%3E%5C%5E%60%7B%7C%7D%5B%5D"},
      {std::string("/a\0b", 4), {}, "/a%00b"},
      {"/a", {{"key", "A&b=c d/+%"}, {"\xC3\xA4", ""}}, "/a?key=A%26b%3Dc%20d%2F%2B%25&%C3%A4="},
      {"/a?x=1#part", {{"y", "2"}}, "/a?x=1&y=2"},
      {"?", {{"y", "2"}}, "/?y=2"},
      {"/a", {{"key", "\t pasted \r\n"}}, "/a?key=%09%20pasted%20%0D%0A"},
  };
  for (const auto& [path, query, target] : cases) {
    RawServer server({{{okReply("")}}});

    Caller().get(server.url() + path, query);

    const std::string request = server.requests().at(0);
    EXPECT_EQ(request.substr(0, request.find("\r\n")), "GET " + target + " HTTP/1.1");
  }
}

TEST(RestClient, LetsARequestsHeaderReplaceTheSessions) {
  RawServer server({{{okReply("")}}});
  Caller caller;
  caller.session.addHeaderParam("X-One", "old");
  caller.session.addHeaderParam(" x-one ", "session");
  caller.session.addHeaderParam("X-Two", "session");

  caller.get(server.url(), {},
             {{"x-TWO", "request"}, {"X-Empty", " "}, {"Content-Type", "text/x"}, {"user-agent", "Tool/2"}});

  const std::string request = server.requests().at(0);
  EXPECT_EQ(request.substr(request.find("X-One")),
            "X-One: session\r\nx-TWO: request\r\nX-Empty:\r\nContent-Type: text/x\r\nuser-agent: Tool/2\r\n"
            "Accept-Encoding: gzip\r\n\r\n");
}

TEST(RestClient, RefusesHeadersThatWouldSmuggleAnythingAndSendsNothing) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"X", "a\r\nEvil: 1"}, {"X", "a\nb"}, {"X", std::string("a\0b", 3)}, {"X", "a\x7f"}, {"X", "a\x01"},
      {"X\r\nEvil", "1"},    {"X:", "1"},   {std::string("X\0Y", 3), "1"}, {"", "1"},      {"X Y", "1"},
  };
  RawServer server({});
  for (const auto& [name, value] : cases) {
    Caller caller;
    caller.session.addHeaderParam(name, value);

    EXPECT_EQ(caller.get(server.url()).code, CMRestCode::InvalidHeader) << name << "=" << value;
    EXPECT_EQ(Caller().get(server.url(), {}, {{name, value}}).code, CMRestCode::InvalidHeader) << name << "=" << value;
  }
  Caller caller;
  caller.settings.userAgent = "a\r\nEvil: 1";

  EXPECT_EQ(caller.get(server.url()).code, CMRestCode::InvalidHeader);
  for (const std::string& value : {std::string("a\nb"), std::string("a\0b", 3), std::string("a\x7f")}) {
    EXPECT_EQ(Caller().get(server.url(), {{"key", value}}).code, CMRestCode::InvalidHeader) << value;
  }
  EXPECT_TRUE(server.requests().empty());
}

TEST(RestClient, RefusesAddressesThatAreNoHTTPURL) {
  for (const std::string url :
       {"", "127.0.0.1", "http://", "https:///v1", "ftp://host/", "file:///etc/passwd", "http://ho st/",
        "http://h\r\nx/", "http://host:99999/", "http://h%0d%0ax/", " http://host"}) {
    EXPECT_EQ(Caller().get(url).code, CMRestCode::InvalidURL) << url;
  }
}

TEST(RestClient, KeepsOneConnectionForAHundredCalls) {
  const TestAuthority authority;
  standin::Server plain;
  standin::Server secure(authority.issue("IP:127.0.0.1"));
  for (standin::Server* const server : {&plain, &secure}) {
    Caller caller;
    caller.settings.caFile = authority.file();
    COJson body;
    for (int i = 0; i < 100; ++i) {
      server->enqueue({.body = "{}"});

      ASSERT_EQ(caller.post(server->url(), &body).code, CMRestCode::Success);
    }
    EXPECT_EQ(server->connectionCount(), 1U) << server->url();
  }
}

TEST(RestClient, MakesAConnectionOfItsOwnWithoutAPoolOfTheLibrarys) {
  class ForeignPool : public ICSHTTPPoolCenter {};
  ForeignPool foreign;
  RawServer server({{{okReply("1")}, RawEnd::Silent}, {{okReply("2")}, RawEnd::Silent}});
  Caller caller;

  caller.session.poolCenter = nullptr;
  EXPECT_EQ(caller.get(server.url()).body(), "1");
  caller.session.poolCenter = &foreign;
  EXPECT_EQ(caller.get(server.url()).body(), "2");
}

TEST(RestClient, TellsHowATransferFailed) {
  const std::string gzipBomb(
      "\x1f\x8b\x08\0\0\0\0\0\2\3\x4b\x4c\x1c\x05\xa3\x60\x14\x0c\x77\0\0\3\xda\x38\x9a\xe8\3\0\0", 29);
  const std::string longHeader = "X: " + std::string(90'000, 'a') + "\r\n";
  const std::vector<std::pair<std::string, std::int32_t>> cases = {
      {"", CMRestCode::ClosedBeforeReply},
      {"HTTP/1.1 20", CMRestCode::ClosedBeforeReply},
      {"HTTP/1.1 100 Continue\r\n\r\n", CMRestCode::ClosedInsideReply},
      {"HTTP/1.1 200 OK\r\nX: 1\r\n", CMRestCode::ClosedInsideReply},
      {"HTTP/1.1 500 No\r\nContent-Length: 9\r\n", CMRestCode::ClosedInsideReply},
      {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{}", CMRestCode::ClosedInsideReply},
      {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n", CMRestCode::ClosedInsideReply},
      {"SSH-2.0-OpenSSH\r\n", CMRestCode::MalformedReply},
      {"HTTP/2 2000 OK\r\nContent-Length: 1\r\n\r\nx", CMRestCode::MalformedReply},
      {"HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 4\r\n\r\nabcd", CMRestCode::MalformedReply},
      {okReply(std::string(1000, 'a')), CMRestCode::ReplyTooLarge},
      {"HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n" + gzipBomb, CMRestCode::ReplyTooLarge},
      {"HTTP/1.1 200 OK\r\n" + longHeader + longHeader + longHeader + "\r\n", CMRestCode::HeadersTooLarge},
      {okReply(std::string(999, 'a')), CMRestCode::Success},
      {"HTTP/1.1 103 Early Hints\r\n\r\nHTTP/1.1 200 OK\r\n\r\nwhole", CMRestCode::Success},
  };
  for (const auto& [reply, code] : cases) {
    RawServer server({{{reply}}});
    Caller caller;
    caller.settings.maxResponseBytes = 999;
    COJson body;

    const Answer answer = caller.post(server.url(), &body);

    EXPECT_EQ(answer.code, code) << reply.substr(0, 80);
    EXPECT_EQ(answer.body().empty(), code != CMRestCode::Success);
    EXPECT_EQ(caller.cancelSource->obtainLastCode(), code);
    EXPECT_EQ(server.requests().size(), 1U);
  }
}

// The pointer kept what it was before, although its contract said that it is always set.
TEST(RestClient, LeavesNoReplyWhenABodyThrows) {
  struct Unsendable : ICOJsonValue {
    std::string obtainJsonString() const override { throw std::runtime_error("no text"); }
  };
  RawServer server({});
  Caller caller;
  Unsendable body;
  CMRestPostRequest request;
  request.setURL(server.url());
  request.updateJson(&body);
  CMRestResourceResponse earlier;
  CMRestResourceResponse* response = &earlier;
  ICSAppFactory* const factory = QX::obtainAppFactory();
  const std::unique_ptr<ICSRestClient> client(
      factory->obtainRestClientFactory()->createRestClient(factory, &caller.settings, &caller.session));

  EXPECT_THROW(static_cast<void>(client->restPost(&request, &response)), std::runtime_error);

  EXPECT_EQ(response, nullptr);
  EXPECT_TRUE(server.requests().empty());
}

TEST(RestClient, TellsThatNobodyListensOrAnswersInTime) {
  RawServer silent({{{""}, RawEnd::Silent}, {{}, RawEnd::Silent}});
  Caller caller;
  const int freePort = RawServer({}).port();

  EXPECT_EQ(caller.get("http://127.0.0.1:" + std::to_string(freePort)).code, CMRestCode::ConnectionRefused);
  caller.settings.requestTimeoutMs = 100;
  EXPECT_EQ(caller.get(silent.url()).code, CMRestCode::RequestTimedOut);
  caller.settings.connectTimeoutMs = 100;
  EXPECT_EQ(caller.get("https" + silent.url().substr(4)).code, CMRestCode::ConnectTimedOut);
}

TEST(RestClient, TrustsNobodyButTheGivenAuthorityAndTheRightName) {
  const TestAuthority ours;
  const TestAuthority other;  // of the same name, with another key
  standin::Server server(ours.issue("IP:127.0.0.1"));
  standin::Server misnamed(ours.issue("DNS:elsewhere.example"));
  RawServer plain({loopback::RawConnection{}});
  const std::string keyLog = ours.file() + ".keys";
  ::setenv("SSLKEYLOGFILE", keyLog.c_str(), 1);    // read when the first client of a process is made
  const std::string pipe = ours.file() + ".pipe";  // reading it once held every call of the process
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const CODefer cleanup([&] {
    std::remove(keyLog.c_str());
    std::remove(pipe.c_str());
  });
  const std::vector<std::tuple<std::string, std::string, std::int32_t>> cases = {
      {server.url(), ours.file(), 404},
      {server.url(), other.file(), CMRestCode::UnknownAuthority},
      {server.url(), "", CMRestCode::UnknownAuthority},
      {server.url(), "/nonexistent.pem", CMRestCode::CAFileUnreadable},
      {server.url(), pipe, CMRestCode::CAFileUnreadable},
      {misnamed.url(), ours.file(), CMRestCode::CertificateName},
      {"https" + plain.url().substr(4), ours.file(), CMRestCode::TLSFailed},
  };
  Caller caller;
  for (const auto& [url, caFile, code] : cases) {
    caller.settings.caFile = caFile;

    EXPECT_EQ(caller.get(url).code, code) << caFile;
  }
  EXPECT_EQ(std::ifstream(keyLog).peek(), std::ifstream::traits_type::eof());
}

TEST(RestClient, ReadsAuthoritiesAgainWhenTheirFileHasChanged) {
  const TestAuthority ours;
  const TestAuthority other;
  const standin::Server server(ours.issue("IP:127.0.0.1"));
  const std::string file = ours.file() + ".used";
  const CODefer cleanup([&file] { std::remove(file.c_str()); });
  const std::vector<std::pair<std::string, std::int32_t>> cases = {
      {ours.file(), 404}, {other.file(), CMRestCode::UnknownAuthority}, {ours.file(), 404}};
  for (const auto& [content, code] : cases) {
    std::filesystem::copy_file(content, file + ".new");
    std::filesystem::rename(file + ".new", file);
    Caller caller;
    caller.settings.caFile = file;

    EXPECT_EQ(caller.get(server.url()).code, code);
  }
}

// A header's continuation in front of all headers was once added to a header of the reply before, which had been freed.
TEST(RestClient, RefusesAReplyThatBeginsWithTheContinuationOfAHeader) {
  RawServer server({{{okReply("first"), "HTTP/1.1 200 OK\r\n folded: 1\r\nContent-Length: 6\r\n\r\nsecond"}}});
  Caller caller;
  EXPECT_EQ(caller.get(server.url()).body(), "first");

  EXPECT_EQ(caller.get(server.url()).code, CMRestCode::MalformedReply);
}

// The calls of a pool have the URL and the headers in common.
TEST(RestClient, LeavesNothingOfACallToTheNext) {
  RawServer server({{{okReply("{}"), okReply("{}"), okReply("{}")}}});
  Caller caller;
  COJson body(R"({"a":1})");
  caller.settings.userAgent = "Tool/1";
  EXPECT_EQ(caller.post(server.url() + "/a?key=1", &body).code, CMRestCode::Success);
  caller.settings = {};
  caller.settings.proxyURL = "http://127.0.0.1:" + std::to_string(RawServer({}).port());
  caller.settings.proxyBypass.clear();
  EXPECT_EQ(caller.post(server.url() + "/a", &body).code, CMRestCode::ConnectionRefused);
  caller.settings = {};

  EXPECT_EQ(caller.get(server.url(), {{"key", "1"}}).code, CMRestCode::Success);
  EXPECT_EQ(caller.get(server.url(), {{"key", "2"}}).code, CMRestCode::Success);

  EXPECT_EQ(server.requests().at(2), "GET /?key=2 HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.port()) +
                                         "\r\nAccept: */*\r\nUser-Agent: libqx/" QX_VERSION
                                         "\r\nAccept-Encoding: gzip\r\n\r\n");
}

TEST(RestClient, GivesEachCallItsOwnHeadersWhicheverOfThemChanges) {
  standin::Server server;
  Caller caller;
  const auto trace = [&](const CMRestParamList& headers) {
    caller.get(server.url(), {}, headers);
    return server.requests().back().header("X-Trace");
  };
  const auto userAgent = [&](const std::string& name) {
    caller.settings.userAgent = name;
    caller.get(server.url());
    return server.requests().back().header("User-Agent");
  };
  const auto contentType = [&](std::size_t bytes) {
    COJson body;
    body.addKeyValue("text")->setStringValue(std::string(bytes, 'x'));
    caller.post(server.url(), &body);
    EXPECT_EQ(server.requests().back().body, body.obtainJsonString());
    EXPECT_EQ(server.requests().back().header("Expect"), "");
    return server.requests().back().header("Content-Type");
  };

  EXPECT_EQ(trace({{"X-Trace", "1"}}), "1");
  EXPECT_EQ(trace({{"X-Trace", "2"}}), "2");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(caller.get(server.url(), {}, {{"X-Trace", "3\n4"}}).code, CMRestCode::InvalidHeader);
  }
  EXPECT_EQ(trace({}), "");
  EXPECT_EQ(userAgent(" Tool/1 "), "Tool/1");
  EXPECT_EQ(userAgent("Tool/2"), "Tool/2");
  EXPECT_EQ(contentType(1), "application/json");
  EXPECT_EQ(contentType(2'000'000), "application/json");
}

TEST(RestClient, KeepsTheBodyOfAFailedStatusAndFollowsNoRedirect) {
  RawServer target({});
  standin::Server server;
  server.enqueue({.status = 401, .body = R"({"error":"key"})"});
  server.enqueue({.status = 302, .body = "moved", .headers = {{"Location", target.url()}}});
  server.enqueue({.body = "no JSON"});
  Caller caller;

  const Answer refused = caller.get(server.url());
  const Answer moved = caller.get(server.url());
  const Answer text = caller.get(server.url());

  EXPECT_EQ(refused.code, 401);
  EXPECT_EQ(refused.response->bodyJson->obtainKeyValue("error")->obtainStringView(), "key");
  EXPECT_EQ(moved.code, 302);
  EXPECT_EQ(moved.body(), "moved");
  EXPECT_TRUE(target.requests().empty());
  EXPECT_EQ(text.code, CMRestCode::Success);
  EXPECT_EQ(text.body(), "no JSON");
  EXPECT_EQ(text.response->bodyJson, nullptr);
}

TEST(RestClient, IgnoresTheProxyOfTheEnvironmentAndUsesThatOfTheSettings) {
  RawServer environmentsProxy({});
  RawServer proxy({{{okReply("through the proxy")}}, {{"HTTP/1.1 403 No\r\nContent-Length: 0\r\n\r\n"}}});
  RawServer server({{{okReply("direct")}}});
  ::setenv("http_proxy", environmentsProxy.url().c_str(), 1);
  ::setenv("no_proxy", "127.0.0.1", 1);
  const CODefer cleanup([] {
    ::unsetenv("http_proxy");
    ::unsetenv("no_proxy");
  });
  Caller direct;
  direct.settings.proxyBypass = "";
  Caller proxied;
  proxied.settings.proxyURL = proxy.url();
  proxied.settings.proxyBypass = "";

  EXPECT_EQ(direct.get(server.url()).body(), "direct");
  EXPECT_EQ(proxied.get(server.url()).body(), "through the proxy");
  EXPECT_EQ(proxied.get("https" + server.url().substr(4)).code, CMRestCode::ProxyRefused);
  EXPECT_TRUE(environmentsProxy.requests().empty());
}

TEST(RestClient, SendsAPostOnceWhenAKeptConnectionDiesUnderIt) {
  COJson json(R"({"a":1})");
  for (ICOJsonValue* const body : {static_cast<ICOJsonValue*>(&json), static_cast<ICOJsonValue*>(nullptr)}) {
    RawServer server({{{okReply("1"), ""}}, {{""}}});
    Caller caller;
    caller.get(server.url());

    const Answer answer = caller.post(server.url(), body);

    EXPECT_EQ(answer.code, CMRestCode::ClosedBeforeReply);
    EXPECT_EQ(server.requests().size(), 2U);
  }
}

TEST(RestClient, LosesNoCallToAConnectionThatWasClosedWhileIdle) {
  RawServer server({{{okReply("1")}}, {{okReply("2")}}});
  Caller caller;
  COJson body;
  caller.post(server.url(), &body);
  server.waitForClosed(1);

  EXPECT_EQ(caller.post(server.url(), &body).body(), "2");
}

TEST(CancelSource, EndsTheCallThatIsRunningAndNoOther) {
  RawServer server({{{okReply("1"), ""}, RawEnd::Silent}, {{okReply("meanwhile")}}, {{okReply("3")}}});
  Caller caller;

  caller.cancelSource->cancel();
  EXPECT_EQ(caller.get(server.url()).code, CMRestCode::Success);
  std::thread canceller([&] {
    server.waitForRequests(2);
    Caller second;
    second.session.poolCenter = caller.pool.get();
    EXPECT_EQ(second.get(server.url()).body(), "meanwhile");
    caller.cancelSource->cancel();
  });
  const Answer cancelled = caller.get(server.url());
  canceller.join();

  EXPECT_EQ(cancelled.code, CMRestCode::Cancelled);
  EXPECT_EQ(cancelled.body(), "");
  EXPECT_EQ(caller.get(server.url()).body(), "3");
  caller.pool.reset();
  caller.cancelSource->cancel();
  EXPECT_EQ(caller.cancelSource->obtainLastCode(), CMRestCode::Success);
}

// A second pool was made, and a cancel meant for one could end a call of the other.
TEST(CancelSource, ServesOnePoolAlone) {
  Caller caller;

  EXPECT_EQ(QX::createHTTPPoolCenter(caller.cancelSource), nullptr);
  caller.pool.reset();
  EXPECT_EQ(QX::createHTTPPoolCenter(caller.cancelSource), nullptr);
}

TEST(ErrorTranslator, HasASentenceOfItsOwnForEachCode) {
  std::ifstream file(ZEA_DOCS "/failures.md");
  const std::string page{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  std::set<std::string> sentences;
  for (std::int32_t code = CMRestCode::InvalidURL; code <= CMRestCode::Count; ++code) {  // one is unknown
    EXPECT_TRUE(sentences.insert(messageOf(code)).second) << code;
    const bool isTold = page.find("| " + messageOf(code) + " | ") != std::string::npos;
    EXPECT_EQ(isTold, code != CMRestCode::Count) << messageOf(code) << " and docs/failures.md";
  }

  EXPECT_EQ(sentences.count(""), 0U);
  EXPECT_EQ(messageOf(CMRestCode::Success), "");
  EXPECT_EQ(messageOf(CMRestCode::Cancelled), "The request was cancelled.");
  EXPECT_EQ(messageOf(503), "HTTP 503 Service Unavailable");
  EXPECT_EQ(messageOf(599), "HTTP 599");
}

}  // namespace
