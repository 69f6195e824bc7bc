// SPDX-License-Identifier: Apache-2.0
// A reply, filled by the call that received it and not changed any more once the host has it.
#pragma once

#include "zea/izea_message.h"

/// Owns its sections.
class ZEAMessage final : public IZEAMessage {
 public:
  ZEAMessage() = default;
  ~ZEAMessage() override;
  ZEAMessage(const ZEAMessage&) = delete;
  ZEAMessage& operator=(const ZEAMessage&) = delete;

  std::int64_t obtainTime() const override { return createdAt; }
  std::int32_t obtainRole() const override { return role; }
  const std::vector<IZEAMessageSection*>& obtainSections() const override { return sections; }

  std::int64_t createdAt = 0;  // seconds since the epoch, UTC
  std::int32_t role = ZEARoleAssistant;
  std::vector<IZEAMessageSection*> sections;
};
