// SPDX-License-Identifier: Apache-2.0
// One case of the corpus: a host, its assistant and what the two do.
#pragma once

#include <zea/zea.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "loopback/answering_server.h"
#include "record.h"
#include "replies.h"
#include "source.h"

namespace corpus {

/// The server that all cases ask, one after the other, and the requests that have come since the last look.
class Provider {
 public:
  Provider();

  /// Such as "127.0.0.1:40123".
  std::string address() const { return "127.0.0.1:" + std::to_string(server_.port()); }
  void answerWith(WireReply reply) { server_.setReply(std::move(reply.bytes), reply.isLast); }
  std::vector<std::string> takeRequests();

 private:
  std::mutex mutex_;
  std::vector<std::string> requests_;
  loopback::AnsweringServer server_;  // last: it ends first, and with it the thread that adds requests
};

/// A memory of a host's own, which remembers whatever was said before.
class HostMemory final : public IZEAAssistantMemory {
 public:
  explicit HostMemory(Source& source);
  void setStructureDocument(const std::string& document) override { document_ = document; }
  std::string obtainStructureDocument() const override { return document_; }
  void addEntry(std::int32_t role, const std::string& text) override { entries_.push_back({role, text}); }
  std::vector<ZEAAssistantMemoryEntry> obtainEntries(std::int32_t limit) const override;

 private:
  std::vector<ZEAAssistantMemoryEntry> entries_;
  std::string document_;
};

class Host {
 public:
  /// Neither is owned; both must outlive this. The number alone decides what happens.
  Host(std::size_t number, Provider& provider, Record& record);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  void run();

 private:
  void applySettings();
  std::string makeURL();
  void setSome(std::size_t count);
  void setOne(IZEAProperties& properties);
  void set(IZEAProperties& properties, const char* key, const CMVariant& value);
  void ask();
  void list();
  void expect(const std::string& body);
  void writeState();
  void writeRequests();

  Source source_;
  Provider& provider_;
  Record& record_;
  ZEAAssistantType type_;
  Format format_;
  bool isProxied_;
  std::string key_;
  std::unique_ptr<HostMemory> memory_;  // null: the assistant's own
  IZEAAssistant* assistant_ = nullptr;
};

}  // namespace corpus
