// SPDX-License-Identifier: Apache-2.0
// A reply of a model.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "zea/izea_assistant_memory.h"
#include "zea/izea_object.h"

/// A part of a message. It belongs to its message and is never freed by itself.
class IZEAMessageSection {
 public:
  virtual ~IZEAMessageSection() = default;
  /// The kind of the section: 0 for text, the only kind.
  virtual std::int32_t obtainSectionType() const = 0;
  /// The text: bytes, perhaps none, not terminated. Borrowed until the message is freed.
  virtual std::string_view obtainSectionText() const = 0;
};

/// A reply. The host owns it and gives it back with `ZEAFreeObject`, at any time, also after its assistant has gone.
/// It never changes: any thread may read it.
class IZEAMessage : public IZEAObject {
 public:
  /// When the reply had arrived: seconds since the epoch, UTC.
  virtual std::int64_t obtainTime() const = 0;
  /// Whose turn it is: `ZEARoleAssistant`.
  virtual std::int32_t obtainRole() const = 0;
  /// The content in reading order: one text section, whose text may be empty. Borrowed until the message is freed.
  virtual const std::vector<IZEAMessageSection*>& obtainSections() const = 0;
};
