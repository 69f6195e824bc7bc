// The common base of the nine adapters.
#pragma once

#include <memory>
#include <string>

#include "qx/http_pool_center.h"
#include "qx/rest_session.h"
#include "zea/izea_assistant.h"
#include "zea_assistant_properties.h"
#include "zea_call.h"

/// Owns what every provider needs and tells the frame of an adapter once. An adapter adds its default host, its
/// endpoint, its two wire operations and, where it differs, its temperature limit and its credentials.
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
  /// `store`: null for a plain one. The pool is used by the session, not owned yet.
  ZEAAssistant(ICSHTTPPoolCenter* pool, const std::string& apiHost, const char* defaultHost,
               IZEAAssistantMemory* memory, std::unique_ptr<ZEAAssistantProperties> store = nullptr);

  /// For the constructor of an adapter: keeps the key, as it was given, and puts it to use.
  void adoptKey(const std::string& apiKey);

  /// What a call object works on. Good as long as the assistant, and until the memory is replaced.
  ZEACallContext callContext() const { return {*properties, *session, *memory}; }

  /// Called by `updateProperties` once a temperature has been assigned, with a value from 0 to 2: gives what the
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
