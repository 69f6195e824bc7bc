// SPDX-License-Identifier: Apache-2.0
// Servers that mean harm or are badly made.
#include <gtest/gtest.h>

#include <openssl/ssl.h>

#include <chrono>
#include <functional>
#include <future>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "loopback/raw_server.h"
#include "loopback/tls_identity.h"
#include "qx/qx.h"
#include "support/rest_caller.h"

namespace {

using loopback::RawConnection;
using loopback::RawEnd;
using loopback::RawFlood;
using loopback::RawServer;
using support::ok;
using support::okReply;

constexpr int kLimitMs = 300;
constexpr int kOverMs = 500 * TEST_TIME_FACTOR;  // a limit and a cancel are kept to that

class Transport : public testing::Test {
 protected:
  const loopback::TestAuthority authority;
  const standin::TlsIdentity identity = authority.issue("IP:127.0.0.1");
  std::optional<RawServer> server;
  support::Caller caller;

  Transport() { caller.settings.caFile = authority.file(); }
  /// The code of a call that has to end in that time; where it doesn't, the end of the server ends it.
  template <typename Call>
  std::int32_t askWithin(
      std::int64_t milliseconds, Call call, const std::function<void()>& meanwhile = [] {}) {
    auto code = std::async(std::launch::async, call);
    meanwhile();
    EXPECT_EQ(code.wait_for(std::chrono::milliseconds(milliseconds)), std::future_status::ready);
    server.reset();
    return code.get();
  }
};

// libcurl read the body of a refused tunnel, and OpenSSL messages of its own, for as long as they came.
TEST_F(Transport, LeavesInTimeWhatNeverEnds) {
  const std::string no = "HTTP/1.1 407 No\r\nProxy-Authenticate: Basic realm=x\r\n";
  const std::string sized = no + "Content-Length: 99999999999\r\n\r\n";
  const std::string chunked = no + "Transfer-Encoding: chunked\r\n\r\nfffffff\r\n";
  const std::string part = ok("Content-Length: 9\r\n\r\npart");
  const std::string pieces(100'000, 'x');
  const std::vector<std::tuple<const char*, bool, RawConnection>> cases = {
      {"refusal in pieces", true, {.replies = {no + "\r\n"}, .repeated = pieces}},
      {"sized refusal in bytes", true, {.replies = {sized}, .repeated = "x"}},
      {"sized refusal in pieces", true, {.replies = {sized}, .repeated = pieces}},
      {"chunk in pieces", true, {.replies = {chunked}, .repeated = pieces}},
      {"header in bytes", true, {.replies = {no + "X: "}, .repeated = "x", .isSlow = true}},
      {"headers", true, {.replies = {no}, .repeated = "X: 1\r\n"}},
      {"updates at once", false, {.replies = {}, .flood = RawFlood::KeyUpdates}},
      {"updates before the reply", false, {.replies = {""}, .flood = RawFlood::KeyUpdates}},
      {"updates inside the reply", false, {.replies = {part}, .flood = RawFlood::KeyUpdates}},
      {"tickets before the reply", false, {.replies = {""}, .flood = RawFlood::Tickets}},
      {"tickets inside the reply", false, {.replies = {part}, .flood = RawFlood::Tickets}},
  };
  for (const auto& [name, isProxy, connection] : cases) {
    for (const int limit : {kLimitMs, 0}) {
      const testing::ScopedTrace trace(__FILE__, __LINE__, name + std::string(limit == 0 ? ", cancelled" : ""));
      server.emplace(std::vector{connection}, isProxy ? nullptr : &identity);
      const std::string url = isProxy ? "https://host.invalid" : server->url();
      caller.settings.proxyURL = isProxy ? server->url() : "";
      caller.settings.connectTimeoutMs = caller.settings.requestTimeoutMs = limit;

      const std::int32_t code = askWithin(
          limit + kOverMs, [&] { return caller.get(url).code; },
          [&] {
            if (limit != 0) return;
            server->waitForRepeats(5);
            caller.cancelSource->cancel();
          });

      EXPECT_NE(code, CMRestCode::Success);
    }
  }
}

// OpenSSL skips requests for a handshake inside a handshake for as long as they come.
TEST_F(Transport, LeavesAHandshakeInTimeThatNeverEnds) {
  std::string records;
  while (records.size() < 2'000'000) records += std::string("\x16\x03\x03\x40\x00", 5) + std::string(0x4000, '\0');
  server.emplace(std::vector<RawConnection>{{.replies = {}, .repeated = records}});
  caller.settings.connectTimeoutMs = kLimitMs;
  const std::string url = "https" + server->url().substr(4);

  EXPECT_EQ(askWithin(kLimitMs + kOverMs, [&] { return caller.get(url).code; }), CMRestCode::ConnectTimedOut);
}

// What waited on a kept connection was read to its end before the clock of the next call began.
TEST_F(Transport, IsNotDelayedByAFloodOnAnIdleConnection) {
  const std::string pieces(100'000, 'x');
  const std::vector<std::pair<const standin::TlsIdentity*, RawConnection>> cases = {
      {nullptr, {.replies = {okReply("1")}, .repeated = pieces}},
      {&identity, {.replies = {okReply("1")}, .repeated = pieces}},
      {&identity, {.replies = {okReply("1")}, .flood = RawFlood::KeyUpdates}},
      {&identity, {.replies = {okReply("1")}, .flood = RawFlood::Tickets}},
  };
  for (const auto& [tls, connection] : cases) {
    server.emplace(std::vector<RawConnection>{connection, {{okReply("2")}}}, tls);
    caller.settings.requestTimeoutMs = kLimitMs * TEST_TIME_FACTOR;
    EXPECT_EQ(caller.get(server->url()).body(), "1");
    server->waitForRepeats(2);

    const std::int32_t code = askWithin(caller.settings.requestTimeoutMs + kOverMs,
                                        [&, url = server->url()] { return caller.get(url).code; });

    EXPECT_TRUE(code == CMRestCode::Success || code == CMRestCode::RequestTimedOut) << code;
  }
}

// Inside TLS it waited in OpenSSL for the next question, and line feeds made every second one fail.
TEST_F(Transport, GivesNoQuestionWhatFollowedAnotherReply) {
  const std::string head = ok("Content-Length: 5\r\n\r\n");
  for (const standin::TlsIdentity* const tls : {static_cast<const standin::TlsIdentity*>(nullptr), &identity}) {
    for (const std::string& stray : {std::string("more"), std::string("\n\n\n"), okReply("wrong")}) {
      for (const std::string& reply : {head + "whole" + stray + "|", head + "|whole" + stray + "|",
                                       head + "whole|" + stray + "|", head + "|whole|" + stray + "|"}) {
        server.emplace(std::vector(6, RawConnection{.replies = std::vector(6, reply), .isInRecords = true}), tls);
        for (std::size_t count = 1; count <= 6; ++count) {
          EXPECT_EQ(caller.post(server->url(), nullptr).body(), "whole") << (tls != nullptr ? "TLS " : "") << reply;
          EXPECT_EQ(server->requests().size(), count);
        }
      }
    }
  }
}

TEST_F(Transport, TellsBrokenRulesApart) {
  const std::string member("\x1f\x8b\x08\0\0\0\0\0\0\3\3\0\0\0\0\0\0\0\0\0", 20);  // of nothing
  std::string members;
  while (members.size() < 50'000) members += member;
  const RawConnection unsized{{ok("\r\nwhole")}, RawEnd::Break};
  const standin::TlsIdentity unnamed = authority.issue("CN:named.test");
  const std::vector<std::tuple<const char*, RawConnection, const standin::TlsIdentity*, std::int32_t>> cases = {
      {"no length", unsized, nullptr, CMRestCode::Success},
      {"no length, no close_notify", unsized, &identity, CMRestCode::ClosedInsideReply},
      {"name of the subject alone", {{okReply("1")}}, &unnamed, CMRestCode::CertificateName},
      {"continuation", {{ok(" x: 1\r\nContent-Length: 1\r\n\r\n1")}}, nullptr, CMRestCode::MalformedReply},
      {"packed", {{ok("Content-Encoding: gzip\r\n\r\n")}, {}, members}, nullptr, CMRestCode::ReplyTooLarge},
      {"huge", {{ok("Content-Length: 4611686018427387904\r\n\r\n1")}}, nullptr, CMRestCode::ClosedInsideReply},
  };
  for (const auto& [name, connection, tls, code] : cases) {
    server.emplace(std::vector{connection}, tls);
    caller.settings.requestTimeoutMs = 5'000 * TEST_TIME_FACTOR;
    const bool isEndless = !connection.repeated.empty();
    caller.settings.maxResponseBytes = isEndless ? 1'000'000 : std::numeric_limits<std::uint64_t>::max();
    std::int32_t found = 0;
    const std::string url = tls != &unnamed ? server->url() : "https://named.test:" + std::to_string(server->port());
    EXPECT_NO_THROW(found = caller.get(url).code) << name;

    EXPECT_EQ(found, code) << name;
    EXPECT_EQ(server->requests().size(), code == CMRestCode::CertificateName ? 0U : 1U);
  }
}

// It read as a connection that the server had closed.
TEST_F(Transport, TellsThatAServerWantsACertificateOfTheClient) {
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    server.emplace(std::vector<RawConnection>{{{okReply("1")}}}, &identity, version);
    SSL_CTX_set_verify(server->context(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);

    EXPECT_EQ(caller.post(server->url(), nullptr).code, CMRestCode::ClientCertificateWanted) << version;
  }
}

// What had been sent was waited on until the end of all time limits.
TEST_F(Transport, LeavesAServerThatIsHalfClosedDuringAnUpload) {
  server.emplace(std::vector<RawConnection>{{.replies = {""}, .end = RawEnd::Half, .isEarly = true}});
  caller.settings.requestTimeoutMs = 60'000;
  COJson body;
  body.addKeyValue("text")->setStringValue(std::string(20'000'000, 'x'));

  const std::int32_t code =
      askWithin(5'000 * TEST_TIME_FACTOR, [&, url = server->url()] { return caller.post(url, &body).code; });

  EXPECT_TRUE(code == CMRestCode::SendFailed || code == CMRestCode::ClosedBeforeReply) << code;
}

// In the C locale libcurl could not read such a name and called the whole URL invalid.
TEST_F(Transport, FindsNamesWithLettersBeyondASCIIInTheCLocale) {
  server.emplace(std::vector<RawConnection>{{{okReply("1")}}});

  EXPECT_EQ(caller.get("http://b\xC3\xBC\x63her.test:" + std::to_string(server->port())).body(), "1");
  ASSERT_EQ(server->requests().size(), 1U);
  EXPECT_NE(server->requests()[0].find("Host: xn--bcher-kva.test:"), std::string::npos);
}

}  // namespace
