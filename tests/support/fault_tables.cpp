// SPDX-License-Identifier: Apache-2.0
#include "support/fault_tables.h"

#include <iterator>
#include <string_view>
#include <utility>

#include "qx/qx.h"
#include "support/rest_caller.h"

namespace support {

namespace {

using loopback::RawConnection;
using loopback::RawEnd;

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

}  // namespace

std::string chunked(const std::string& rest) { return ok("Transfer-Encoding: chunked\r\n\r\n" + rest); }
std::string packed(const std::string& body, const std::string& kind) {
  return ok("Content-Encoding: " + kind + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
}
std::string failed(const std::string& status, const std::string& fields) {
  return "HTTP/1.1 " + status + "\r\n" + fields + "Content-Length: 5\r\n\r\nwords";
}

const std::string& gzipped() {
  static const std::string bytes = fromHex("1f8b08000000000002032bcfc8cf4905004f2959c405000000");  // "whole"
  return bytes;
}

namespace {

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

}  // namespace

std::vector<Fault> makeFaults(const std::string& elsewhere) {
  std::vector<Fault> faults;
  for (std::vector<Fault>& kind : std::vector<std::vector<Fault>>{
           makeSilences(), makeExcesses(), makeBreaks(), makeNonsense(), makeOddButGood(), makeStatuses(elsewhere)}) {
    std::move(kind.begin(), kind.end(), std::back_inserter(faults));
  }
  return faults;
}

}  // namespace support
