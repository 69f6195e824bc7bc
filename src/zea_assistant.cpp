// SPDX-License-Identifier: Apache-2.0
#include "zea_assistant.h"

#include "qx/internal/assertion.h"
#include "qx/text.h"
#include "zea_default_assistant_memory.h"

using namespace zea;

ZEAAssistant::ZEAAssistant(const ZEAAssistantParts& parts, const char* defaultHost,
                           std::unique_ptr<ZEAAssistantProperties> store)
    : memory(parts.memory), ownsMemory(false), properties(std::move(store)), session(new CMRestSession) {
  session->poolCenter = parts.pool;
  std::unique_ptr<IZEAAssistantMemory> ownMemory;
  if (memory == nullptr) {
    ownMemory = std::make_unique<ZEADefaultAssistantMemory>();
    memory = ownMemory.get();
  }
  if (properties == nullptr) properties = std::make_unique<ZEAAssistantProperties>(memory);
  properties->memory = memory;
  properties->normalizeHost(parts.apiHost, defaultHost, true);
  ownsMemory = ownMemory.release() != nullptr;
}

ZEAAssistant::~ZEAAssistant() {
  // The pool may be a host's own class: what its destructor could look at, the session and the store, is still there.
  // Neither of these looks at the memory when it goes.
  if (ownsMemory) delete memory;
  httpPoolCenter.reset();
  session.reset();
  properties.reset();
}

IZEAAssistantMemory* ZEAAssistant::releaseMemory() {
  ownsMemory = false;
  return memory;
}

void ZEAAssistant::setMemory(IZEAAssistantMemory* newMemory) {
  if (!qxAssert(newMemory != nullptr)) return;
  if (!qxAssert(!ownsMemory || newMemory != memory)) return;
  if (ownsMemory) delete memory;
  memory = newMemory;
  properties->memory = newMemory;
  ownsMemory = false;
}

std::string ZEAAssistant::updateProperties(std::function<void(IZEAProperties*)> function) {
  if (!function) throw std::bad_function_call();
  try {
    function(properties.get());
  } catch (...) {
    settleProperties();  // what was set before the host's function gave up is in force all the same
    throw;
  }
  settleProperties();
  return {};
}

void ZEAAssistant::settleProperties() {
  if (properties->isAssigned(kTemperature)) {
    double temperature = properties->temperature;
    if (temperature > 2.0) temperature = 2.0;
    if (!(temperature >= 0.0)) temperature = 0.0;  // also where it is no number
    properties->temperature = limitTemperature(temperature);
  }
  if (properties->isAssigned(kApiHost)) properties->apiHost = qxTrimAsString(properties->apiHost);
  if (properties->apiKey.obtainText() != keyInUse_.obtainText()) useKey();
}

IZEAProperties* ZEAAssistant::obtainProperties() const {
  // Sliced on purpose: the copy is a plain store, whatever the adapter's own is.
  return new ZEAAssistantProperties(*properties);
}

void ZEAAssistant::adoptKey(const std::string& apiKey) {
  properties->apiKey = QXSecret(apiKey);
  useKey();
}

void ZEAAssistant::useKey() {
  sendCredentials();
  keyInUse_ = properties->apiKey;
}

void ZEAAssistant::sendCredentials() {
  const QXSecret bearer("Bearer " + properties->apiKey.obtainText());
  session->setAuthorizationHeaderValue(bearer.obtainText());
}
