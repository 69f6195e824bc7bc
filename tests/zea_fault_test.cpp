// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <openssl/ssl.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "loopback/raw_server.h"
#include "loopback/tls_identity.h"
#include "support/fault_tables.h"
#include "support/providers.h"
#include "support/rest_caller.h"

namespace {

using loopback::RawConnection;
using loopback::RawEnd;
using loopback::RawServer;
using loopback::TestAuthority;
using support::Answer;
using support::Caller;
using support::chunked;
using support::failed;
using support::Fault;
using support::gzipped;
using support::makeFaults;
using support::messageOf;
using support::ok;
using support::okReply;
using support::packed;

constexpr std::string_view kMarker = "marker-key-7f3a";
constexpr int kLimitMs = 300;

void checkSentence(std::int32_t code) {
  EXPECT_EQ(messageOf(code).empty(), code == CMRestCode::Success);
  EXPECT_EQ(messageOf(code).find(kMarker), std::string::npos);
}

void checkFault(const Fault& fault, const standin::TlsIdentity* identity, const std::string& caFile) {
  SCOPED_TRACE(fault.name + (identity != nullptr ? ", over TLS" : ""));
  RawServer server({fault.connection, {{okReply("next")}}}, identity);
  Caller caller;
  caller.settings.caFile = caFile;
  caller.settings.maxResponseBytes = 1'000'000;
  caller.settings.requestTimeoutMs = fault.code == CMRestCode::RequestTimedOut ? kLimitMs : 60'000;
  caller.session.setAuthorizationHeaderValue("Bearer " + std::string(kMarker));
  COJson body;
  body.addKeyValue("text")->setStringValue(std::string(fault.connection.isEarly ? 5'000'000 : 10, 'x'));

  const Answer answer = caller.post(server.url() + "/v1?key=" + std::string(kMarker), &body);

  EXPECT_TRUE(fault.canEndWith([&](std::int32_t code) { return answer.code == code; })) << answer.code;
  EXPECT_EQ(answer.body(), answer.code == fault.code ? fault.body : "");
  checkSentence(answer.code);
  EXPECT_EQ(server.requests().size(), fault.connection.replies.empty() ? 0U : 1U);
  if (fault.connection.end == RawEnd::Close) server.waitForClosed(1);
  caller.settings.requestTimeoutMs = 60'000;
  const Answer next = caller.post(server.url(), &body);
  EXPECT_EQ(next.body(), "next") << messageOf(next.code);
}

TEST(TransportFault, IsToldTrulyAndCostsOneQuestionOnly) {
  RawServer elsewhere({});
  for (const Fault& fault : makeFaults(elsewhere.url())) checkFault(fault, nullptr, "");

  EXPECT_TRUE(elsewhere.requests().empty());
}

TEST(TransportFault, IsToldTrulyAndCostsOneQuestionOnlyOverTLS) {
  const TestAuthority authority;
  const standin::TlsIdentity identity = authority.issue("IP:127.0.0.1");
  RawServer elsewhere({});
  for (const Fault& fault : makeFaults(elsewhere.url())) checkFault(fault, &identity, authority.file());

  EXPECT_TRUE(elsewhere.requests().empty());
}

/// What a user reads of a fault that ends with the code: the server's own words, where they came whole.
std::string failureOf(const Fault& fault, std::int32_t code) {
  if (code == CMRestCode::Success) return "Invalid response: p/v1/chat/completions";
  return code == fault.code && !fault.body.empty() ? fault.body : messageOf(code);
}

void checkConversation(const Fault& fault) {
  SCOPED_TRACE(fault.name);
  RawServer server({fault.connection, {{okReply(kChoice)}}});
  CMRestGlobalSettings settings;
  settings.maxResponseBytes = 1'000'000;
  settings.requestTimeoutMs = fault.code == CMRestCode::RequestTimedOut ? kLimitMs : 60'000;
  ZEASetHTTPSettings(settings);
  Owned<IZEAAssistantMemory> memory;  // outlives the assistant that uses it
  const auto assistant = newAssistant(ZEAAssistantType::OPENAI_v1, std::string(kMarker), server.url());
  memory.reset(assistant->releaseMemory());
  set(*assistant, "model", "m");

  const auto lost = assistant->addMessage(std::string(fault.connection.isEarly ? 5'000'000 : 10, 'x'));

  EXPECT_EQ(lost.first, nullptr);
  EXPECT_TRUE(fault.canEndWith([&](std::int32_t code) { return lost.second == failureOf(fault, code); }))
      << lost.second;
  EXPECT_TRUE(memory->obtainEntries(20).empty());
  if (fault.connection.end == RawEnd::Close) server.waitForClosed(1);
  ZEASetHTTPSettings({});
  const auto [reply, nextFailure] = assistant->addMessage("next");
  const Owned<IZEAMessage> owned(reply);
  EXPECT_NE(reply, nullptr) << nextFailure;
  EXPECT_EQ(memory->obtainEntries(20).size(), 2U);
}

TEST(TransportFault, LeavesNoTraceInAConversationAndTheNextQuestionIsAnswered) {
  RawServer elsewhere({});
  for (const Fault& fault : makeFaults(elsewhere.url())) checkConversation(fault);

  EXPECT_TRUE(elsewhere.requests().empty());
}

TEST(TransportFault, OfACertificateIsToldAndNothingIsAsked) {
  const TestAuthority ours;
  const TestAuthority other;  // of the same name, with another key
  const std::string ip = "IP:127.0.0.1";
  struct Case {
    std::string name;
    standin::TlsIdentity identity;
    std::int32_t code;
    int newestVersion = 0;
  };
  const std::vector<Case> cases = {
      {"expired", ours.issue(ip, {-7200, -3600}), CMRestCode::UnknownAuthority},
      {"not yet valid", ours.issue(ip, {3600, 7200}), CMRestCode::UnknownAuthority},
      {"signed by itself", TestAuthority::signItself(ip), CMRestCode::UnknownAuthority},
      {"signed by somebody else", other.issue(ip), CMRestCode::UnknownAuthority},
      {"for another address", ours.issue("IP:127.0.0.2"), CMRestCode::CertificateName},
      {"for a name", ours.issue("DNS:elsewhere.example"), CMRestCode::CertificateName},
      {"TLS 1.1 only", ours.issue(ip), CMRestCode::TLSFailed, TLS1_1_VERSION},
  };
  const standin::TlsIdentity good = ours.issue(ip);
  Caller caller;
  caller.settings.caFile = ours.file();
  for (const Case& one : cases) {
    RawServer server({{{okReply("wrong")}}}, &one.identity, one.newestVersion);
    RawServer next({{{okReply("next")}}}, &good);

    EXPECT_EQ(caller.post(server.url(), nullptr).code, one.code) << one.name;
    EXPECT_TRUE(server.requests().empty()) << one.name;
    EXPECT_NE(messageOf(one.code).find("; "), std::string::npos) << one.name;
    EXPECT_EQ(caller.post(next.url(), nullptr).body(), "next") << one.name;
  }
}

TEST(TransportFault, IsFoundWhereverAReplyBreaksOff) {
  const TestAuthority authority;
  const standin::TlsIdentity identity = authority.issue("IP:127.0.0.1");
  const std::vector<std::string> replies = {
      okReply("whole"),
      chunked("2;a=b\r\nwh\r\n3\r\nole\r\n0\r\n\r\n"),
      packed(gzipped()),
      ok("Content-Encoding: gzip\r\n\r\n" + gzipped()),
      "HTTP/1.1 100 Continue\r\n\r\n" + okReply("whole"),
      failed("401 Unauthorized"),
  };
  for (const standin::TlsIdentity* tls : {static_cast<const standin::TlsIdentity*>(nullptr), &identity}) {
    for (const std::string& reply : replies) {
      const std::size_t headEnd = reply.rfind("\r\n\r\n", reply.size() - 6) + 4;
      std::vector<RawConnection> script;
      for (std::size_t size = 0; size < reply.size(); ++size) script.push_back({{reply.substr(0, size)}});
      RawServer server(script, tls);
      for (std::size_t size = 0; size < reply.size(); ++size) {
        // Where nothing tells the length a body may be empty. The last line end of chunks carries nothing: whether it
        // is missed is up to libcurl.
        const bool isWhole =
            size == headEnd && reply[size] == '\x1f' && reply.find("Content-Length") == std::string::npos;
        const bool canBeWhole = isWhole || (size + 1 == reply.size() && reply.ends_with("0\r\n\r\n"));
        Caller caller;
        caller.settings.caFile = authority.file();

        const Answer answer = caller.post(server.url(), nullptr);

        const bool isFound =
            answer.code == CMRestCode::ClosedBeforeReply || answer.code == CMRestCode::ClosedInsideReply;
        EXPECT_TRUE(isFound ? !isWhole : canBeWhole) << answer.code << " at " << size << " of " << reply;
        EXPECT_TRUE(answer.body().empty() || !isFound);
      }
      EXPECT_EQ(server.requests().size(), reply.size());
    }
  }
}

}  // namespace
