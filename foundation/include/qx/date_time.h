// SPDX-License-Identifier: Apache-2.0
// Dates that arrive as text.
#pragma once

#include <cstdint>
#include <string>

#include "qx/export.h"

/// A point in time in whole seconds, UTC. A plain value.
class QX_API CODateTime {
 public:
  /// Parses a text by a strftime-style format such as "%Y-%m-%dT%H:%M:%SZ", in the classic locale. Never null: a
  /// text that doesn't match the format whole, or names a day that doesn't exist, results in a date that is not valid.
  /// The caller owns the result and deletes it.
  [[nodiscard]] static CODateTime* dateTimeFromString(const std::string& text, const std::string& format);

  bool isValid() const noexcept { return isValid_; }
  /// Seconds since 1970-01-01T00:00:00Z, negative before. 0 when not valid.
  std::int64_t secondsSinceEpoch() const noexcept { return seconds_; }

 private:
  bool isValid_ = false;
  std::int64_t seconds_ = 0;
};

/// Turns dates into numbers. Serves one thread at a time.
class QX_API ICSDateTimeConverter {
 public:
  virtual ~ICSDateTimeConverter();
  /// Seconds since the epoch plus `offsetSeconds`. For a date that is not valid it is the smallest 32-bit number, so
  /// that it sorts as the oldest.
  virtual std::int64_t toEpochSeconds(CODateTime dateTime, std::int64_t offsetSeconds) const = 0;
};

/// What `ICSAppFactory::obtainDateTimeService` returns. Lives as long as the process; any thread may use it.
class QX_API ICSDateTimeService {
 public:
  virtual ~ICSDateTimeService();
  /// A new converter. The caller owns it and deletes it.
  [[nodiscard]] virtual ICSDateTimeConverter* createDateTimeConverter() = 0;
};
