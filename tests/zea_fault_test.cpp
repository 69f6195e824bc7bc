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
#include "support/providers.h"
#include "support/rest_caller.h"

namespace {

using loopback::RawConnection;
using loopback::RawEnd;
using loopback::RawServer;
using loopback::TestAuthority;
using support::Answer;
using support::Caller;
using support::messageOf;
using support::ok;
using support::okReply;

constexpr std::string_view kMarker = "marker-key-7f3a";
constexpr int kLimitMs = 300;

/// What a server does to a question, and what the caller gets to know.
struct Fault {
  std::string name;
  RawConnection connection;
  std::int32_t code;
  std::string body = {};
  std::vector<std::int32_t> otherCodes = {};  // where the order of two machines' doings decides

  template <class Predicate>
  bool canEndWith(Predicate isIt) const {
    return isIt(code) || std::any_of(otherCodes.begin(), otherCodes.end(), isIt);
  }
};

std::string fromHex(std::string_view digits) {
  std::string bytes;
  for (; digits.size() >= 2; digits.remove_prefix(2)) {
    bytes += static_cast<char>(std::stoi(std::string(digits.substr(0, 2)), nullptr, 16));
  }
  return bytes;
}

std::string repeat(const std::string& text, int times) {
  std::string result;
  for (int i = 0; i < times; ++i) result += text;
  return result;
}

std::string chunked(const std::string& rest) { return ok("Transfer-Encoding: chunked\r\n\r\n" + rest); }
std::string packed(const std::string& body, const std::string& kind = "gzip") {
  return ok("Content-Encoding: " + kind + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
}
std::string failed(const std::string& status, const std::string& fields = "") {
  return "HTTP/1.1 " + status + "\r\n" + fields + "Content-Length: 5\r\n\r\nwords";
}

const std::string& gzipped() {
  static const std::string bytes = fromHex("1f8b08000000000002032bcfc8cf4905004f2959c405000000");  // "whole"
  return bytes;
}

std::vector<Fault> makeSilences() {
  constexpr std::int32_t kCode = CMRestCode::RequestTimedOut;
  return {
      {"silent before the head", {{""}, RawEnd::Silent}, kCode},
      {"silent inside the status line", {{"HTTP/1.1 2"}, RawEnd::Silent}, kCode},
      {"silent inside the head", {{ok("X: 1\r\n")}, RawEnd::Silent}, kCode},
      {"silent between head and body", {{ok("Content-Length: 5\r\n\r\n")}, RawEnd::Silent}, kCode},
      {"silent inside the body", {{ok("Content-Length: 5\r\n\r\nwh")}, RawEnd::Silent}, kCode},
      {"silent inside a chunk", {{chunked("5\r\nwh")}, RawEnd::Silent}, kCode},
      {"silent after an interim response", {{"HTTP/1.1 100 Continue\r\n\r\n"}, RawEnd::Silent}, kCode},
      {"deaf", {{}, RawEnd::Deaf}, kCode},
      {"deaf to a large body", {.replies = {}, .end = RawEnd::Deaf, .isEarly = true}, kCode},
      {"a byte of the head now and then", {.replies = {ok("X: ")}, .repeated = "a", .isSlow = true}, kCode},
      {"a byte of the body now and then", {.replies = {ok("\r\n")}, .repeated = "a", .isSlow = true}, kCode},
      {"a preliminary head now and then",
       {.replies = {""}, .repeated = "HTTP/1.1 102 Processing\r\n\r\n", .isSlow = true},
       kCode},
  };
}

std::vector<Fault> makeExcesses() {
  std::string manyHeaders;
  for (int i = 0; i < 10'000; ++i) manyHeaders += "X-Name-" + std::to_string(i) + ": a value of some length\r\n";
  const std::string bomb = fromHex("1f8b08000000000002034b4c1c05a360140c77000003da389ae8030000");
  return {
      {"endless headers", {.replies = {ok("")}, .repeated = "X: 1\r\n"}, CMRestCode::HeadersTooLarge},
      {"endless preliminary heads",
       {.replies = {""}, .repeated = "HTTP/1.1 100 Continue\r\n\r\n"},
       CMRestCode::HeadersTooLarge},
      {"10,000 headers", {{ok(manyHeaders + "\r\nwhole")}}, CMRestCode::HeadersTooLarge},
      {"one header of 200 kB",
       {{ok("X: " + std::string(200'000, 'a') + "\r\n\r\nwhole")}},
       CMRestCode::HeadersTooLarge},
      {"one header without an end",
       {.replies = {ok("X: ")}, .repeated = std::string(1000, 'a')},
       CMRestCode::HeadersTooLarge},
      {"endless trailers", {.replies = {chunked("0\r\n")}, .repeated = "X: 1\r\n"}, CMRestCode::HeadersTooLarge},
      {"endless body", {.replies = {ok("\r\n")}, .repeated = std::string(9999, 'a')}, CMRestCode::ReplyTooLarge},
      {"endless chunks", {.replies = {chunked("")}, .repeated = "4\r\naaaa\r\n"}, CMRestCode::ReplyTooLarge},
      {"endless chunk extension", {.replies = {chunked("4;")}, .repeated = "aaaa"}, CMRestCode::RequestTimedOut},
      {"gzip bomb", {.replies = {ok("Content-Encoding: gzip\r\n\r\n")}, .repeated = bomb}, CMRestCode::ReplyTooLarge},
      {"small text of many values", {{okReply('[' + repeat("0,", 40'000) + "0]")}}, CMRestCode::ReplyTooLarge},
      {"small text of many arrays", {{okReply('[' + repeat("[],", 16'000) + "0]")}}, CMRestCode::ReplyTooLarge},
      {"immense length", {{ok("Content-Length: 9000000000000000000\r\n\r\nwh")}}, CMRestCode::ReplyTooLarge},
      {"one byte too many", {{okReply(std::string(1'000'001, 'a'))}}, CMRestCode::ReplyTooLarge},
  };
}

std::vector<Fault> makeBreaks() {
  constexpr std::int32_t kBefore = CMRestCode::ClosedBeforeReply;
  constexpr std::int32_t kInside = CMRestCode::ClosedInsideReply;
  return {
      {"reset when connected",
       {{}, RawEnd::Reset},
       kBefore,
       "",
       {CMRestCode::SendFailed, CMRestCode::ConnectionRefused}},
      {"closed when connected", {{}}, kBefore, "", {CMRestCode::SendFailed}},
      {"reset before the head", {{""}, RawEnd::Reset}, kBefore},
      {"reset inside the head", {{ok("X: 1\r\n")}, RawEnd::Reset}, kInside},
      {"reset between head and body", {{ok("Content-Length: 5\r\n\r\n")}, RawEnd::Reset}, kInside},
      {"reset inside the body", {{ok("Content-Length: 5\r\n\r\nwh")}, RawEnd::Reset}, kInside},
      {"reset inside a body without length", {{ok("\r\nwh")}, RawEnd::Reset}, kInside},
      {"reset inside a chunk", {{chunked("5\r\nwh")}, RawEnd::Reset}, kInside},
      {"reset between two chunks", {{chunked("2\r\nwh\r\n")}, RawEnd::Reset}, kInside},
      {"reset after an interim response", {{"HTTP/1.1 100 Continue\r\n\r\n"}, RawEnd::Reset}, kInside},
      {"broken before the head", {{""}, RawEnd::Break}, kBefore},
      {"broken inside the body", {{ok("Content-Length: 5\r\n\r\nwh")}, RawEnd::Break}, kInside},
      {"closed before the head", {{""}}, kBefore},
      {"closed inside the head", {{ok("X: 1\r\n")}}, kInside},
      {"closed after a folded line of blanks", {{ok("X: 1\r\n \t\r\n")}}, kInside},
      {"closed inside the body", {{ok("Content-Length: 5\r\n\r\nwh")}}, kInside},
      {"closed before the last chunk", {{chunked("5\r\nwhole\r\n")}}, kInside},
      {"closed after an interim response", {{"HTTP/1.1 100 Continue\r\n\r\n"}}, kInside},
      {"closed after a change of protocols", {{"HTTP/1.1 101 Switching Protocols\r\nUpgrade: x\r\n\r\n"}}, kInside},
      {"gzip that breaks off, with its length", {{packed(gzipped().substr(0, 12))}}, kInside},
      {"gzip without its check sum", {{packed(gzipped().substr(0, 17))}}, kInside},
      {"gzip that breaks off", {{ok("Content-Encoding: gzip\r\n\r\n" + gzipped().substr(0, 24))}}, kInside},
      {"a chunk without a size", {{chunked("zz\r\nwhole\r\n0\r\n\r\n")}}, kInside},
      {"a chunk of negative size", {{chunked("-5\r\nwhole\r\n0\r\n\r\n")}}, kInside},
      {"a chunk of immense size", {{chunked("fffffffffffffffff\r\nwhole\r\n0\r\n\r\n")}}, kInside},
      {"a chunk that is longer than it says", {{chunked("2\r\nwhole\r\n0\r\n\r\n")}}, kInside},
  };
}

std::vector<Fault> makeNonsense() {
  constexpr std::int32_t kCode = CMRestCode::MalformedReply;
  std::string damaged = gzipped();
  std::string wrongSum = gzipped();
  damaged[10] = '\x07';
  wrongSum[17] = '\0';
  return {
      {"no HTTP", {{"SSH-2.0-OpenSSH\r\n"}}, kCode},
      {"no status line", {{"<html>words</html>"}}, kCode},
      {"no status", {{"HTTP/1.1 OK\r\n\r\nwhole"}}, kCode},
      {"a status of two digits", {{"HTTP/1.1 20 OK\r\n\r\nwhole"}}, kCode},
      {"a version to come", {{"HTTP/7.0 200 OK\r\n\r\nwhole"}}, kCode},
      {"a NUL in a header", {{ok(std::string("X: a\0b\r\n\r\nwhole", 15))}}, kCode},
      {"a length of words", {{ok("Content-Length: five\r\n\r\nwhole")}}, kCode},
      {"a length with words", {{ok("Content-Length: 5 bytes\r\n\r\nwhole")}}, kCode},
      {"a negative length", {{ok("Content-Length: -5\r\n\r\nwhole")}}, kCode},
      {"a length beyond numbers", {{ok("Content-Length: 99999999999999999999\r\n\r\nwhole")}}, kCode},
      {"two lengths", {{ok("Content-Length: 5\r\nContent-Length: 4\r\n\r\nwhole")}}, kCode},
      {"damaged gzip", {{packed(damaged)}}, kCode},
      {"gzip with a wrong check sum", {{packed(wrongSum)}}, kCode},
      {"gzip and something after it", {{packed(gzipped() + "words")}}, kCode},
      {"gzip that is none", {{packed("whole")}}, kCode},
      {"a coding of another kind", {{packed("whole", "br")}}, kCode},
      {"two codings", {{packed(gzipped(), "gzip, gzip")}}, kCode},
      {"an unknown coding of the transfer", {{ok("Transfer-Encoding: words\r\n\r\nwhole")}}, kCode},
  };
}

std::vector<Fault> makeOddButGood() {
  constexpr std::int32_t kCode = CMRestCode::Success;
  const std::string tiny = "1\r\nw\r\n1\r\nh\r\n1\r\no\r\n1\r\nl\r\n1\r\ne\r\n0\r\n\r\n";
  const std::string twoParts =
      fromHex("1f8b08000000000002032bcf0000a414ce62020000001f8b0800000000000203cbcf49050073e45a4803000000");
  return {
      {"a byte at a time", {.replies = {okReply("whole")}, .isByteByByte = true}, kCode, "whole"},
      {"chunks of a byte", {.replies = {chunked(tiny)}, .isByteByByte = true}, kCode, "whole"},
      {"gzip a byte at a time", {.replies = {packed(gzipped())}, .isByteByByte = true}, kCode, "whole"},
      {"chunks with extensions", {{chunked("5;a=b;c=\"d\"\r\nwhole\r\n0;e\r\n\r\n")}}, kCode, "whole"},
      {"chunks with trailers", {{chunked("5\r\nwhole\r\n0\r\nX: 1\r\nContent-Length: 9\r\n\r\n")}}, kCode, "whole"},
      {"a trailer after no chunk", {{chunked("0\r\nContent-Length: x\r\n\r\n")}}, kCode},
      {"HTTP 1.0 without a length", {{"HTTP/1.0 200 OK\r\n\r\nwhole"}}, kCode, "whole"},
      {"HTTP 1.1 without a length", {{ok("\r\nwhole")}}, kCode, "whole"},
      {"lines without a carriage return", {{"HTTP/1.1 200 OK\nContent-Length: 5\n\nwhole"}}, kCode, "whole"},
      {"the same length twice", {{ok("Content-Length: 5\r\nContent-Length: 5\r\n\r\nwhole")}}, kCode, "whole"},
      {"more than its length", {{ok("Content-Length: 5\r\n\r\nwholemore")}}, kCode, "whole"},
      {"preliminary heads",
       {{"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nContent-Length: 9\r\n\r\n" + okReply("whole")}},
       kCode,
       "whole"},
      {"no content", {{"HTTP/1.1 204 No Content\r\nContent-Encoding: gzip\r\n\r\n"}}, kCode},
      {"no content, and content", {{"HTTP/1.1 204 No Content\r\nContent-Length: 5\r\n\r\nwords"}}, kCode},
      {"nothing", {{okReply("")}}, kCode},
      {"gzip", {{packed(gzipped())}}, kCode, "whole"},
      {"gzip after a folded line of blanks",
       {{ok("X: 1\r\n \t\r\nContent-Encoding: gzip\r\n\r\n" + gzipped())}},
       kCode,
       "whole"},
      {"gzip in two parts", {{packed(twoParts, "x-gzip")}}, kCode, "whole"},
      {"gzip of nothing", {{packed("")}}, kCode},
      {"no coding, in words", {{packed("whole", "Identity")}}, kCode, "whole"},
      {"as many bytes as may come", {{okReply(std::string(1'000'000, 'a'))}}, kCode, std::string(1'000'000, 'a')},
  };
}

std::vector<Fault> makeStatuses(const std::string& elsewhere) {
  const auto early = [](const std::string& reply, RawEnd end) {
    return RawConnection{.replies = {reply}, .end = end, .isEarly = true};
  };
  const std::string target = "Location: " + elsewhere + "/moved\r\n";
  const std::string proofs =
      "WWW-Authenticate: Basic realm=x\r\nWWW-Authenticate: NTLM\r\nWWW-Authenticate: Negotiate\r\n";
  return {
      {"moved permanently", {{failed("301 Moved Permanently", target)}}, 301, "words"},
      {"found", {{failed("302 Found", target)}}, 302, "words"},
      {"see other", {{failed("303 See Other", target)}}, 303, "words"},
      {"temporary redirect", {{failed("307 Temporary Redirect", target)}}, 307, "words"},
      {"permanent redirect", {{failed("308 Permanent Redirect", target)}}, 308, "words"},
      {"redirected to a file", {{failed("302 Found", "Location: file:///etc/passwd\r\n")}}, 302, "words"},
      {"redirected by refresh",
       {{ok("Refresh: 0; url=" + elsewhere + "\r\nContent-Length: 5\r\n\r\nwhole")}},
       0,
       "whole"},
      {"another service named",
       {{ok("Alt-Svc: h2=\"" + elsewhere.substr(7) + "\"\r\nContent-Length: 5\r\n\r\nwhole")}},
       0,
       "whole"},
      {"not modified", {{"HTTP/1.1 304 Not Modified\r\nContent-Length: 2000000\r\n\r\n"}}, 304},
      {"asked for other proofs", {{failed("401 Unauthorized", proofs)}}, 401, "words"},
      {"asked for a proxy's proofs", {{failed("407 Proxy", "Proxy-Authenticate: Basic realm=x\r\n")}}, 407, "words"},
      {"an expectation failed", {{failed("417 Expectation Failed")}}, 417, "words"},
      {"asked for a newer protocol", {{failed("426 Upgrade Required", "Upgrade: h2c\r\n")}}, 426, "words"},
      {"too many questions", {{failed("429 Too Many", "Retry-After: 0\r\n")}}, 429, "words"},
      {"out of order", {{failed("503 No", "Retry-After: 0\r\n")}}, 503, "words"},
      {"a status of nobody's", {{failed("999 Odd")}}, 999, "words"},
      {"refused while the body goes out", early(failed("401 No"), RawEnd::Drain), 401, "words"},
      {"too large while the body goes out", early(failed("413 No"), RawEnd::Drain), 413, "words"},
      {"refused, then closed", early(failed("401 No"), RawEnd::Close), 401, "words", {CMRestCode::SendFailed}},
      {"too large, then reset", early(failed("413 No"), RawEnd::Reset), 413, "words", {CMRestCode::SendFailed}},
      {"refused without an end", early(failed("413 No").substr(0, 30), RawEnd::Drain), CMRestCode::ClosedInsideReply},
      {"closed while the body goes out",
       early("", RawEnd::Close),
       CMRestCode::SendFailed,
       "",
       {CMRestCode::ClosedBeforeReply}},
      {"reset while the body goes out",
       early("", RawEnd::Reset),
       CMRestCode::SendFailed,
       "",
       {CMRestCode::ClosedBeforeReply}},
  };
}

std::vector<Fault> makeFaults(const std::string& elsewhere) {
  std::vector<Fault> faults;
  for (std::vector<Fault>& kind : std::vector<std::vector<Fault>>{
           makeSilences(), makeExcesses(), makeBreaks(), makeNonsense(), makeOddButGood(), makeStatuses(elsewhere)}) {
    std::move(kind.begin(), kind.end(), std::back_inserter(faults));
  }
  return faults;
}

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
