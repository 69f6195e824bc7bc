// SPDX-License-Identifier: Apache-2.0
// What of a database a model may see, and where it may be sent.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "zeakit/export.h"
#include "zeakit/structure_builder.h"

namespace zeakit {

/// A host's policy. Its operations change nothing and are for every thread.
///
/// It covers what the kit makes of a catalog. It does not look into what people write, nor into replies.
struct Disclosure {
  /// Patterns, as in `StructureOptions`, of what no prompt names: tables by "table" and "schema.table", columns by
  /// "column" and "table.column".
  std::vector<std::string> hiddenTables, hiddenColumns;
  /// Patterns of hosts that may be asked, without scheme and port; empty for all.
  std::vector<std::string> allowedHosts;
  /// Whether others than this machine may be asked. Where not, only "localhost", 127.0.0.0/8 and [::1] are; a proxy
  /// that the HTTP settings name is not looked at.
  bool mayLeaveMachine = true;

  /// What is left of a structure: hidden tables and columns are gone, also from keys; types, of which more than the
  /// first word tells a hidden name, are cut to it; lines of instructions that tell one are gone. A document that
  /// cannot be read becomes "[]", with a note. The notes stay as they are: they are for the host.
  [[nodiscard]] ZEAKIT_API BuiltStructure apply(const BuiltStructure& structure) const;
  /// The same for a document alone.
  [[nodiscard]] ZEAKIT_API std::string apply(const std::string& document) const;

  /// Why the host may not be asked, as a sentence, or empty. Takes what "api_host" takes, or a URL; to be called before
  /// an assistant is given a key for it. What cannot be read as a host is refused.
  [[nodiscard]] ZEAKIT_API std::string refusalOf(std::string_view host) const;
};

}  // namespace zeakit
