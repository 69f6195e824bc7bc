// SPDX-License-Identifier: Apache-2.0
// What a reply is made of: text, statements, other code, and what a model thought aloud.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "zeakit/export.h"

namespace zeakit {

enum class ReplyPartKind {
  Text,     // Markdown between the code
  Sql,      // a fenced block of SQL, or a statement that stands in the text where the reply has no SQL in a fence
  Code,     // a fenced block in another language
  Thinking  // between think tags; not part of the answer
};

/// Views into the reply, which must outlive them.
struct ReplyPart {
  ReplyPartKind kind = ReplyPartKind::Text;
  /// From the first byte to the last one. Code that is nested in a list or a quotation has the list's indentation and
  /// the quotation's marks between its lines: see `lines`.
  std::string_view text;
  /// The word after a fence, as it is written; empty without one.
  std::string_view language;
  /// Pieces of `text` without what belongs to a list or a quotation; empty when that is the whole text.
  std::vector<std::string_view> lines;

  /// The code alone, whatever it is nested in.
  [[nodiscard]] ZEAKIT_API std::string content() const;
};

/// The parts in their order. Fences belong to no part, and parts of nothing but white space are left out, so a blank
/// reply has none. A fence that is never closed reaches to the end of what it is nested in. A think tag counts at the
/// beginning of a line outside of code, "<think>", "<thinking>" or "<reasoning>" in either case; one that is never
/// closed reaches to the end, and one that is closed without having been opened reaches from the beginning. Any bytes
/// will do; the time grows with the length. Any thread.
[[nodiscard]] ZEAKIT_API std::vector<ReplyPart> replyParts(std::string_view reply);
std::vector<ReplyPart> replyParts(std::string&& reply) = delete;

/// The first part of the kind Sql, as a text to run; empty without one.
[[nodiscard]] ZEAKIT_API std::string firstStatement(std::string_view reply);

}  // namespace zeakit
