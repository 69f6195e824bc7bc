// The settings of an assistant.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "qx/variant.h"
#include "zea/izea_object.h"

/// Settings by key. Keys are compared byte for byte.
///
/// | key                     | kind   | meaning                                                                    |
/// |-------------------------|--------|----------------------------------------------------------------------------|
/// | "api_host"              | String | where requests go; "https://" is put in front of a bare host ("http://" for
/// OLLAMA) | | "api_key"               | String | the provider's key | | "model"                 | String | the model's
/// identifier                                                     | | "use_temperature"       | Int    | 0 or 1:
/// whether the temperature is sent, once both keys have been set      | | "temperature"           | Double | sampling
/// temperature; `updateProperties` holds it in the provider's range  | | "user_instructions"     | String | the user's
/// own text for the system prompt                                  | | "system_instructions"   | Map    | named texts
/// for the system prompt; merged by key, an empty text removes one | | "db_structure"          | String or List | the
/// database structure, written as JSON text or as a value; read as the rendered list | | "combined_instructions" |
/// String | the whole system prompt; read only                                         | | "max_tokens"            |
/// Int    | ANTHROPIC only, and not on a copy: the longest reply, in tokens            |
///
/// Serves one thread at a time, the one that uses the assistant. "db_structure" and "combined_instructions" use the
/// assistant's memory, which must live as long as they are used, also on a copy.
class IZEAProperties : public IZEAObject {
 public:
  /// The keys, each with a text that says its type; for "db_structure" the text ends in a template of the document.
  virtual std::vector<std::pair<std::string, std::string>> obtainDescription() const = 0;

  /// The value of a key; Null for a key that doesn't exist.
  virtual CMVariant obtainValue(const std::string& key) const = 0;

  /// Sets a value and gives true. False, and nothing changes, for an unknown or read-only key, for a value of the
  /// wrong kind, and for a "db_structure" text that is no JSON. Elements of the structure that are not as they should
  /// be are passed over when it is read. Never throws but `std::bad_alloc`.
  virtual bool setValue(const std::string& key, const CMVariant& value) = 0;
};
