// SPDX-License-Identifier: Apache-2.0
// What the benchmarks of questions share: the question, the reply to it, the peer that gives the reply, and the
// assistant that asks. Any thread may call the functions; an assistant and a memory serve one at a time.
#pragma once

#include <zea/zea_owned.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "loopback/answering_server.h"
#include "loopback/tls_identity.h"

inline constexpr char kQuestion[] = "Which orders are open?";
inline constexpr char kReply[] = R"({"choices":[{"message":{"role":"assistant","content":"SELECT * FROM orders;"}}]})";
inline constexpr char kChatPath[] = "/v1/chat/completions";
/// What the settings have to name, so that all sides send the same headers.
inline constexpr char kUserAgent[] = "benchmark";
/// The headers that the library sets for a question.
inline constexpr const char* kHeaders[] = {"Authorization: Bearer k", "User-Agent: benchmark", "Accept-Encoding: gzip"};
inline constexpr char kContentType[] = "Content-Type: application/json";

/// Remembers nothing, so that every question is of one size.
class ForgetfulMemory : public IZEAAssistantMemory {
 public:
  void setStructureDocument(const std::string&) override {}
  std::string obtainStructureDocument() const override { return {}; }
  void addEntry(std::int32_t, const std::string&) override {}
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t) const override { return {}; }
};

using Assistant = zea::Owned<IZEAAssistant>;

/// An assistant with a pool of its own that asks the server at `url`. The memory is not owned and must outlive it;
/// null: the library's own.
Assistant createAssistant(const std::string& url, IZEAAssistantMemory* memory, const std::string& key = "k");

void setProperty(IZEAAssistant& assistant, const char* name, const std::string& value);

/// Asks the question and frees the reply. Gives the failure; empty on success.
std::string ask(IZEAAssistant& assistant);

/// Whole lines of a system prompt as the library renders it, of `bytes` bytes at most. The same size gives the same
/// lines.
std::string promptOf(std::size_t bytes);

/// The body that the library sends for the question after a prompt, set as "user_instructions", and after turns, so
/// that all sides send the same.
std::string bodyOf(const std::string& prompt, const std::vector<ZEAAssistantMemoryEntry>& turns = {});

/// Reads a reply as JSON. True when it holds what the library looks for.
bool isRead(const std::string& reply);

/// Hundreds of connections take more files than a process may have open by default. Throws `std::runtime_error`.
void allowManyFiles();

/// What a server says to give a body.
std::string replyOf(const std::string& body);

/// A server, plain or with an identity of an authority of its own. As long as it is there, the settings of libzea trust
/// that authority and name `kUserAgent`. Its clients go before it.
class Peer {
 public:
  explicit Peer(bool isSecure, const std::string& reply = kReply);
  ~Peer() { ZEASetHTTPSettings({}); }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  std::string url() const { return server_.url(); }
  int port() const { return server_.port(); }
  /// The authority's certificate.
  const std::string& caFile() const { return authority_.file(); }

 private:
  loopback::TestAuthority authority_;
  standin::TlsIdentity identity_;
  loopback::AnsweringServer server_;
};
