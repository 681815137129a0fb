#include "datatypes/civil_time.h"

#include "kyv/data_value.h"

namespace kyv_internal {

std::optional<std::tm> brokenDownTime(std::int64_t seconds) {
  if (!hasCalendarYear(seconds)) return std::nullopt;
  const CivilTime time = civilTime(seconds);
  const std::int64_t days = splitCount<kSecondsPerDay>(seconds).whole;
  std::tm fields{};
  fields.tm_sec = time.second;
  fields.tm_min = time.minute;
  fields.tm_hour = time.hour;
  fields.tm_mday = time.date.day;
  fields.tm_mon = time.date.month - 1;
  fields.tm_year = static_cast<int>(time.date.year - 1900);
  fields.tm_wday = weekday(days);
  fields.tm_yday = static_cast<int>(days - daysFromCivil(time.date.year, 1, 1));
  fields.tm_zone = "GMT";
  return fields;
}

std::int64_t secondsOf(const std::tm& time) {
  const auto [years, month] = splitCount<12>(time.tm_mon);
  const std::int64_t days = daysFromCivil(1900 + years + time.tm_year, month + 1, time.tm_mday);
  return days * kSecondsPerDay + std::int64_t{3600} * time.tm_hour + std::int64_t{60} * time.tm_min + time.tm_sec;
}

}  // namespace kyv_internal

long long DataTypes::tm2sec(const std::tm* time) { return kyv_internal::secondsOf(*time); }
