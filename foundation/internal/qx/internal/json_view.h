// SPDX-License-Identifier: Apache-2.0
// JSON without copies of long texts, for this project's own libraries: a document that only views a text is as good as
// the text stays in place, which hosts would have to see to and we can.
#pragma once

#include <string>
#include <string_view>

#include "qx/json.h"

namespace qx {

/// A text that its owner keeps in place and unchanged for as long as a document views it. A temporary is no such text.
class KeptText {
 public:
  KeptText(const std::string& text) noexcept : view_(text) {}  // NOLINT: it stands for the text itself
  KeptText(const std::string&& text) = delete;

  std::string_view obtainView() const noexcept { return view_; }

 private:
  std::string_view view_;
};

/// Parses as `COJson(text)` does.
[[nodiscard]] QX_API COJson parseJsonView(KeptText text);

/// Gives a new value its content as `setStringValue` does.
QX_API void setStringView(COJsonValue& value, KeptText text);

}  // namespace qx
