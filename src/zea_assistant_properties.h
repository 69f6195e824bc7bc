// SPDX-License-Identifier: Apache-2.0
// The property store of an assistant: what a host sets by key, and the system prompt that all of it makes.
#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "qx/secret.h"
#include "qx/variant.h"
#include "zea/izea_assistant_memory.h"
#include "zea/izea_properties.h"
#include "zea/zea_property_names.h"
#include "zea_default_assistant_memory.h"

namespace zea {
using namespace property;  // the keys, compared byte for byte
}

/// The settings of one assistant. The adapters read the fields directly; the host reads and writes by key. The
/// database structure is no field: its document lives as JSON text in the memory, is fetched each time it is needed,
/// and is parsed and rendered anew.
class ZEAAssistantProperties : public IZEAProperties {
 public:
  /// The memory is not owned. The store reaches for it only when the database structure is written or read; while it is
  /// null, the structure is empty and cannot be set.
  explicit ZEAAssistantProperties(IZEAAssistantMemory* givenMemory) : memory(givenMemory) {}
  /// The copy shares the memory, and so the database structure.
  ZEAAssistantProperties(const ZEAAssistantProperties&) = default;
  ZEAAssistantProperties& operator=(const ZEAAssistantProperties&) = delete;
  ~ZEAAssistantProperties() override = default;

  std::vector<std::pair<std::string, std::string>> obtainDescription() const override;
  CMVariant obtainValue(const std::string& key) const override;
  bool setValue(const std::string& key, const CMVariant& value) override;

  /// Sets `apiHost`: the host text without white space at its ends, or the default host when nothing is left of it,
  /// with "https://" (`secure`) or "http://" in front unless it begins with one of the two. Nothing else is changed.
  void normalizeHost(const std::string& hostText, const std::string& defaultHost, bool secure);

  /// Whether a caller has assigned the key.
  bool isAssigned(const char* key) const { return assignedKeys.count(key) > 0; }

  /// Whether a request carries the temperature: a caller has assigned it and has assigned and switched on its use.
  bool sendsTemperature() const;

  /// The rendered structure, as `renderStructure` tells. Asks the memory.
  CMVariantList obtainDatabaseStructure() const;
  /// All statements of the structure, each on a line of its own. Asks the memory.
  std::string obtainSchemaInstructions() const;
  /// The whole system prompt: user instructions, system instructions, statements with an empty line after them. What is
  /// empty leaves no trace. Asks the memory, and reads the store afterwards.
  std::string obtainCombinedInstructions() const;
  /// The same of a document that the memory has handed out already, and which isn't kept longer than that.
  std::string combineInstructions(zea::RememberedText document) const;

  std::set<std::string> assignedKeys;  // what `setValue` has accepted, whatever the value; nothing removes a key
  IZEAAssistantMemory* memory;
  bool secureByDefault = true;  // the scheme of a host that is given without one
  std::string apiHost;          // with a scheme, once normalised
  QXSecret apiKey;
  std::string model;
  bool useTemperature = false;
  double temperature = 1.0;
  std::string userInstructions;
  CMVariantMap systemInstructions;  // texts by name

 private:
  bool assign(const std::string& key, const CMVariant& value);
  bool assignHost(const CMVariant& value);
  bool assignUseTemperature(const CMVariant& value);
  bool assignTemperature(const CMVariant& value);
  bool mergeSystemInstructions(const CMVariant& value);
  bool assignStructure(const CMVariant& value);
  zea::RememberedText readDocument() const;
};
