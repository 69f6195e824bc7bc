// SPDX-License-Identifier: Apache-2.0
// The common base of the adapters.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "qx/http_pool_center.h"
#include "qx/rest_session.h"
#include "zea/izea_assistant.h"
#include "zea_assistant_properties.h"
#include "zea_call.h"

/// What an assistant is made of, as `ZEACreateAssistant` tells.
struct ZEAAssistantParts {
  ICSHTTPPoolCenter* pool;
  const std::string& apiHost;
  const std::string& apiKey;
  IZEAAssistantMemory* memory;
};

/// Owns what every provider needs and tells the frame of an adapter once. An adapter adds its calls
/// (`ZEAAssistantWith`) and, where it differs, its temperature limit and its credentials.
class ZEAAssistant : public IZEAAssistant {
 public:
  ~ZEAAssistant() override;
  ZEAAssistant(const ZEAAssistant&) = delete;
  ZEAAssistant& operator=(const ZEAAssistant&) = delete;

  /// Makes the assistant the owner of the pool that its session already uses.
  void adoptPoolCenter(ICSHTTPPoolCenter* pool) noexcept { httpPoolCenter.reset(pool); }

  IZEAAssistantMemory* releaseMemory() final;
  void setMemory(IZEAAssistantMemory* newMemory) final;
  std::string updateProperties(std::function<void(IZEAProperties*)> function) final;
  IZEAProperties* obtainProperties() const final;

 protected:
  /// `store`: null for a plain one. The pool is used by the session, not owned yet. The key isn't looked at.
  ZEAAssistant(const ZEAAssistantParts& parts, const char* defaultHost, std::unique_ptr<ZEAAssistantProperties> store);

  /// For the constructor of an adapter: keeps the key, as it was given, and puts it to use.
  void adoptKey(const std::string& apiKey);

  /// What a call object works on. Good as long as the assistant, and until the memory is replaced.
  ZEACallContext callContext() const { return {*properties, *session, *memory}; }

  /// Called by `updateProperties` once a temperature has been assigned, with a value from 0 to 2: returns what the
  /// provider takes. Default: the same.
  virtual double limitTemperature(double temperature) const { return temperature; }
  /// Called for the first key and whenever the key in the store has changed: hands it to the session. Default: a bearer
  /// `Authorization`.
  virtual void sendCredentials();

  IZEAAssistantMemory* memory;  // never null
  bool ownsMemory;
  std::unique_ptr<ZEAAssistantProperties> properties;
  std::unique_ptr<ICSHTTPPoolCenter> httpPoolCenter;
  std::unique_ptr<CMRestSession> session;

 private:
  void settleProperties();
  void useKey();

  QXSecret keyInUse_;  // the store's key when the session last heard of it
};

/// An assistant whose operations make a call of class `Call` and run it. `Call::kDefaultHost` is its default host.
template <class Call>
class ZEAAssistantWith : public ZEAAssistant {
 public:
  explicit ZEAAssistantWith(const ZEAAssistantParts& parts, std::unique_ptr<ZEAAssistantProperties> store = nullptr)
      : ZEAAssistant(parts, Call::kDefaultHost, std::move(store)) {}

  std::string obtainDefaultHost() const override { return Call::kDefaultHost; }
  std::string obtainEndpointURL() const override { return Call(callContext()).chatURL(); }
  std::pair<std::vector<std::string>, std::string> obtainAvailableModels() override {
    return Call(callContext()).listModels();
  }
  std::pair<IZEAMessage*, std::string> addMessage(std::string text) override {
    return Call(callContext()).sendMessage(text);
  }
};

/// One that sends the key as a bearer.
template <class Call>
class ZEABearerAssistant : public ZEAAssistantWith<Call> {
 public:
  explicit ZEABearerAssistant(const ZEAAssistantParts& parts) : ZEAAssistantWith<Call>(parts) {
    this->adoptKey(parts.apiKey);
  }
};

namespace zea {

/// Only a whole assistant takes the pool over: as long as its constructor can still throw, the pool is the caller's.
template <class Assistant>
std::unique_ptr<ZEAAssistant> makeAssistant(const ZEAAssistantParts& parts) {
  auto assistant = std::make_unique<Assistant>(parts);
  assistant->adoptPoolCenter(parts.pool);
  return assistant;
}

}  // namespace zea
