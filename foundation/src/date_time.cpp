// SPDX-License-Identifier: Apache-2.0
#include "date_time.h"

#include <chrono>
#include <ctime>
#include <iomanip>
#include <limits>
#include <locale>
#include <memory>
#include <sstream>
#include <string>

namespace qx {

namespace {

class DateTimeConverter final : public ICSDateTimeConverter {
 public:
  std::int64_t toEpochSeconds(CODateTime dateTime, std::int64_t offsetSeconds) const override {
    if (!dateTime.isValid()) return std::numeric_limits<std::int32_t>::min();
    return dateTime.secondsSinceEpoch() + offsetSeconds;
  }
};

class DateTimeService final : public ICSDateTimeService {
 public:
  ICSDateTimeConverter* createDateTimeConverter() override { return new DateTimeConverter; }
};

std::string writeDate(const std::tm& fields, const std::string& format) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream << std::put_time(&fields, format.c_str());
  return stream.str();
}

}  // namespace

}  // namespace qx

using namespace qx;

CODateTime* CODateTime::dateTimeFromString(const std::string& text, const std::string& format) {
  auto result = std::make_unique<CODateTime>();
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  std::tm fields{};
  stream >> std::get_time(&fields, format.c_str());
  // std::get_time is content with a text that ends early or goes on, and with short fields.
  if (writeDate(fields, format) != text) return result.release();

  const std::chrono::year_month_day day{std::chrono::year(fields.tm_year + 1900),
                                        std::chrono::month(static_cast<unsigned>(fields.tm_mon + 1)),
                                        std::chrono::day(static_cast<unsigned>(fields.tm_mday))};
  if (!day.ok()) return result.release();
  const auto time = std::chrono::sys_days(day) + std::chrono::hours(fields.tm_hour) +
                    std::chrono::minutes(fields.tm_min) + std::chrono::seconds(fields.tm_sec);
  result->isValid_ = true;
  result->seconds_ = std::chrono::seconds(time.time_since_epoch()).count();
  return result.release();
}

ICSDateTimeConverter::~ICSDateTimeConverter() = default;
ICSDateTimeService::~ICSDateTimeService() = default;

// Never destroyed: a host may still ask while the process ends.
ICSDateTimeService* qx::obtainDateTimeServiceInstance() {
  static ICSDateTimeService* const service = new DateTimeService;
  return service;
}
