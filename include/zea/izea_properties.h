// SPDX-License-Identifier: Apache-2.0
// The settings of an assistant.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "qx/variant.h"
#include "zea/izea_object.h"

/// Settings by key. Keys are compared byte for byte.
///
/// - "api_host" (String): where requests go. A host without a scheme gets "https://" in front, "http://" for OLLAMA.
/// - "api_key" (String): the provider's key. It counts from the next request on.
/// - "model" (String): the model's identifier.
/// - "use_temperature" (Int, 0 or not): whether the temperature is sent, once both keys have been set.
/// - "temperature" (Double): the sampling temperature. `updateProperties` clamps it to the provider's range;
///   what is no number becomes 0.
/// - "user_instructions" (String): the user's own text for the system prompt.
/// - "system_instructions" (Map of String): named texts for the system prompt. A new Map is merged into the present
///   one: an empty text removes its name, names that it doesn't hold stay, entries of another kind are passed over.
/// - "db_structure" (String or List): the structure of the database, as a JSON text or as a value of the same shape;
///   the type text of `obtainDescription` ends in a template. It is read as the rendered list.
/// - "combined_instructions" (String): the whole system prompt. Read only.
/// - "max_tokens" (Int): the longest reply, in tokens. ANTHROPIC only, and not on a copy.
///
/// Serves one thread at a time, the one that uses the assistant. "db_structure" and "combined_instructions" use the
/// assistant's memory, which must live as long as they are used, also on a copy.
class IZEAProperties : public IZEAObject {
 public:
  /// The keys, each with a text that says its type; for "db_structure" the text ends in a template of the document.
  virtual std::vector<std::pair<std::string, std::string>> obtainDescription() const = 0;

  /// The value of a key; Null for a key that doesn't exist.
  virtual CMVariant obtainValue(const std::string& key) const = 0;

  /// Sets a value and returns true. False, and nothing changes, for an unknown or read-only key, for a value of another
  /// kind than the key's, and for a "db_structure" text that is empty or no JSON. Two keys take any kind:
  /// "db_structure" ignores one that is neither String nor List, "max_tokens" takes whatever `intValue` returns.
  /// Elements of the structure that are not as they should be are passed over when it is read. Throws nothing but
  /// `std::bad_alloc` and what the memory throws.
  [[nodiscard]] virtual bool setValue(const std::string& key, const CMVariant& value) = 0;
};
