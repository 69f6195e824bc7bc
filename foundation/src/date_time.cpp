#include "qx/date_time.h"

#include <chrono>
#include <ctime>
#include <iomanip>
#include <limits>
#include <locale>
#include <memory>
#include <sstream>

#include "date_time_service.h"

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

}  // namespace

CODateTime* CODateTime::dateTimeFromString(const std::string& text, const std::string& format) {
  auto result = std::make_unique<CODateTime>();
  // std::get_time takes a text that ends before its format does for a match. With the same mark behind both, only
  // whole matches reach it.
  constexpr char kEndMark = '\x03';
  const std::string markedFormat = format + kEndMark;
  std::istringstream stream(text + kEndMark);
  stream.imbue(std::locale::classic());
  std::tm fields{};
  stream >> std::noskipws >> std::get_time(&fields, markedFormat.c_str());
  if (stream.fail() || stream.peek() != std::istringstream::traits_type::eof()) return result.release();

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
ICSDateTimeService* obtainDateTimeServiceInstance() {
  static ICSDateTimeService* const service = new DateTimeService;
  return service;
}
