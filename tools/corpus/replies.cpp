// SPDX-License-Identifier: Apache-2.0
#include "replies.h"

#include <zlib.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "json_pattern.h"

namespace corpus {

namespace {

constexpr std::string_view kChats[][4] = {
    {R"({"id":$t,"object":"chat.completion","created":$i,"choices":[{"index":0,"message":{"role":"assistant",)"
     R"("content":$t},"finish_reason":"stop"}],"usage":{"total_tokens":$i}})",
     R"({"choices":[{"message":{"role":"assistant","content":$t}},{"message":{"role":"user","content":$t}},)"
     R"({"message":{"content":$t}},{"message":{"role":"assistant","content":$x}}]})",
     R"({"choices":[$[{"message":{"role":"assistant","content":$o}}$]]})", R"({"choices":$x})"},
    {R"({"candidates":[{"content":{"role":"model","parts":[{"text":$t},{"text":$t},{"data":$x}]}}],"usage":$x})",
     R"({"candidates":[$[{"content":{"role":"model","parts":[$[{"text":$o}$]]}}$]]})",
     R"({"candidates":[{"content":{"role":"user","parts":[{"text":$t}]}},{"content":$x},$x]})", R"({"candidates":$x})"},
    {R"({"model":$n,"created_at":$d,"message":{"role":"assistant","content":$t},"done":true})",
     R"({"message":{"role":$n,"content":$o}})", R"({"message":$x})", R"({"response":$t})"},
    {R"({"id":$t,"type":"message","role":"assistant","content":[{"type":"text","text":$t}],"usage":$x})",
     R"({"content":[{"type":"text","text":$t},{"type":"tool_use","text":$t},{"type":"text","text":$x},$x]})",
     R"({"content":[$[{"type":"text","text":$o}$]]})", R"({"content":$x})"}};

constexpr std::string_view kListings[][3] = {
    {R"({"object":"list","data":[$[{"id":$n,"object":"model","created":$i,"owned_by":$t}$]]})",
     R"({"data":[{"id":$n,"object":"model"},{"id":$x,"object":"model","created":1},{"id":"b","object":$n,"created":2},)"
     R"({"id":"c","created":$x,"object":"model"},$x]})",
     R"({"data":$x})"},
    {R"({"models":[$[{"name":"models/g-1","supportedGenerationMethods":["generateContent","countTokens"]},)"
     R"({"name":$n,"supportedGenerationMethods":[$[$n$]]}$]]})",
     R"({"models":[{"name":$n,"supportedGenerationMethods":["generateContent"]},{"name":$n},$x]})", R"({"models":$x})"},
    {R"({"models":[$[{"name":$n,"model":$n,"modified_at":$d,"size":$i}$]]})",
     R"({"models":[{"name":$x},{"model":$n},$x]})", R"({"models":$x})"},
    {R"({"data":[$[{"type":"model","id":$n,"display_name":$t,"created_at":$d}$]],"has_more":false})",
     R"({"data":[{"type":"model","id":"a","created_at":$x},{"type":$n,"id":"b","created_at":$d},$x]})",
     R"({"data":$x})"}};

constexpr std::string_view kErrors[] = {R"({"error":{"message":$t,"type":$n,"code":$x}})",
                                        R"({"error":$t})",
                                        R"({"code":$t,"error":$t})",
                                        R"({"error":{"message":$x}})",
                                        R"({"error":{}})",
                                        R"({"error":null})",
                                        R"({"code":$x,"error":$x})",
                                        R"({"type":"error","error":{"type":$n,"message":$t}})",
                                        R"([{"error":{"code":400,"message":$t,"status":"INVALID_ARGUMENT"}}])",
                                        R"({"message":$t,"error":$x})",
                                        R"({"error":{"message":$t,"message":$t},"error":$x})",
                                        "$x",
                                        "<html><body>Bad Gateway</body></html>",
                                        ""};

constexpr std::string_view kStatusLines[] = {"HTTP/1.1 201 Created",
                                             "HTTP/1.1 400 Bad Request",
                                             "HTTP/1.1 401 Unauthorized",
                                             "HTTP/1.1 404 Not Found",
                                             "HTTP/1.1 429 Too Many Requests",
                                             "HTTP/1.1 500 Internal Server Error",
                                             "HTTP/1.1 503 Service Unavailable",
                                             "HTTP/1.1 503",
                                             "HTTP/1.1 418 \xFF short",
                                             "HTTP/1.0 200 OK",
                                             "HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1:1/"};

constexpr std::string_view kHeaders[] = {"Content-Type: application/json\r\n",
                                         "content-type: text/plain\r\nX-Odd:  a\tb \r\n",
                                         "Server: s\r\nVary: a\r\nvary: b\r\n", ""};

std::string pack(std::string_view body) {
  z_stream stream{};
  constexpr int kGzip = 15 + 16;
  if (deflateInit2(&stream, 1, Z_DEFLATED, kGzip, 8, Z_DEFAULT_STRATEGY) != Z_OK) throw std::runtime_error("no zlib");
  std::string packed(deflateBound(&stream, body.size()), '\0');
  std::string input(body);
  stream.next_in = reinterpret_cast<Bytef*>(input.data());
  stream.avail_in = static_cast<uInt>(input.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  static_cast<void>(deflate(&stream, Z_FINISH));
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

std::string hexOf(std::size_t number) {
  std::string digits;
  for (; number > 0 || digits.empty(); number /= 16) digits.insert(0, 1, "0123456789aBcDeF"[number % 16]);
  return digits;
}

std::string chunk(Source& source, std::string_view body) {
  std::string chunks;
  while (!body.empty()) {
    const std::size_t size = std::min(body.size(), 1 + source.below(source.isOneIn(3) ? 5 : 20000));
    chunks.append(hexOf(size)).append(source.isOneIn(5) ? ";name=value" : "").append("\r\n");
    chunks.append(body.substr(0, size)).append("\r\n");
    body.remove_prefix(size);
  }
  return chunks.append(source.isOneIn(5) ? "0\r\nX-Trailer: t\r\n\r\n" : "0\r\n\r\n");
}

std::string lengthOf(std::string_view body) { return "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n"; }

std::string makeHead(Source& source) {
  std::string head = source.isOneIn(30) ? "HTTP/1.1 100 Continue\r\n\r\n" : "";
  head.append(source.isOneIn(3) ? source.pick(kStatusLines) : "HTTP/1.1 200 OK").append("\r\n");
  return head.append(source.pick(kHeaders));
}

/// What goes wrong on the way. The connection ends, so that nobody waits for the rest.
std::string breakOff(Source& source, const std::string& head, const std::string& body) {
  const std::string packed = pack(body);
  const std::string packedHead = head + "Content-Encoding: gzip\r\n";
  std::string damaged = packed;
  damaged[source.below(damaged.size())] ^= 1;
  const std::string broken[] = {"",
                                "HTTP/1.1 200",
                                head,
                                "no HTTP\r\n\r\n" + body,
                                head + "Content-Length: 999999\r\n\r\n" + body,
                                head + "Content-Length: x\r\n\r\n" + body,
                                head + "Transfer-Encoding: chunked\r\n\r\n5\r\nab",
                                head + "Transfer-Encoding: chunked\r\n\r\nzz\r\n" + body,
                                packedHead + lengthOf(packed) + packed.substr(0, packed.size() / 2),
                                packedHead + "\r\n" + packed.substr(0, packed.size() - 5),
                                packedHead + "Connection: close\r\n" + lengthOf(damaged) + damaged,
                                packedHead + "Connection: close\r\n" + lengthOf(body) + body,
                                "HTTP/1.1 204 No Content\r\nConnection: close\r\n\r\n",
                                head + "\r\n" + body};
  return source.pick(broken);
}

template <std::size_t kCount>
std::string makeBody(Source& source, const std::string_view (&own)[kCount]) {
  return fillCarelessly(source,
                        source.isOneIn(3) ? source.pick(kErrors) : own[source.isOneIn(2) ? 0 : source.below(kCount)]);
}

/// The format's own place, or at times that of another.
std::size_t placeOf(Source& source, Format format) {
  return source.isOneIn(12) ? source.below(std::size(kChats)) : static_cast<std::size_t>(format);
}

}  // namespace

std::string makeChatBody(Source& source, Format format) { return makeBody(source, kChats[placeOf(source, format)]); }

std::string makeListingBody(Source& source, Format format) {
  return makeBody(source, kListings[placeOf(source, format)]);
}

WireReply frameReply(Source& source, const std::string& body) {
  const std::string head = makeHead(source);
  const std::size_t way = source.below(12);
  if (way == 0) return {breakOff(source, head, body), true};
  if (way == 1) return {head + "\r\n" + body, true};
  if (way == 2) return {head + "Connection: close\r\n" + lengthOf(body) + body, true};
  if (way == 3) return {head + "Transfer-Encoding: chunked\r\n\r\n" + chunk(source, body)};
  if (way > 5) return {head + lengthOf(body) + body};
  const std::string packed = pack(body);
  const std::string packedHead = head + "Content-Encoding: gzip\r\n";
  if (way == 4) return {packedHead + lengthOf(packed) + packed};
  return {packedHead + "Transfer-Encoding: chunked\r\n\r\n" + chunk(source, packed)};
}

WireReply refuse(Source& source) {
  constexpr std::string_view kRefusals[] = {"403 Forbidden", "407 Proxy Authentication Required", "502 Bad Gateway"};
  const std::string body = fillPattern(source, source.pick(kErrors));
  const std::string head = "HTTP/1.1 " + std::string(source.pick(kRefusals)) + "\r\nConnection: close\r\n";
  return {head + lengthOf(body) + body, true};
}

}  // namespace corpus
