// SPDX-License-Identifier: Apache-2.0
// The text of a message.
#pragma once

#include <string>

#include "zea/izea_message.h"

class ZEAMessageTextSection final : public IZEAMessageSection {
 public:
  std::int32_t obtainSectionType() const override { return 0; }
  std::string_view obtainSectionText() const override { return text; }

  std::string text;
};
