#pragma once

// Counts since 1970-01-01 00:00:00 UTC to and from dates and clock times, in the proleptic Gregorian calendar without
// leap seconds. Nothing here knows a time zone, and nothing overflows: every 64-bit count of seconds has its date.

#include <cstdint>
#include <ctime>
#include <optional>

namespace kyv_internal {

inline constexpr std::int32_t kSecondsPerDay = 86400;

// A count as whole units, rounded down, and the rest: -1 millisecond is second -1 and 999 milliseconds.
struct SplitCount {
  std::int64_t whole;
  std::int32_t rest;  // 0 to unit - 1
};

template <std::int32_t unit>
constexpr SplitCount splitCount(std::int64_t count) {
  const auto rest = static_cast<std::int32_t>(count % unit);
  const bool below = rest < 0;
  return {count / unit - below, below ? rest + unit : rest};
}

struct CivilDate {
  std::int64_t year;
  int month;  // 1 to 12
  int day;    // 1 to 31
};

struct CivilTime {
  CivilDate date;
  int hour;
  int minute;
  int second;
};

// Both algorithms are those of Neri and Schneider ("Euclidean affine functions and their application to calendar
// algorithms"). They count days from 1 March, so that the leap day ends a year, of a year so long ago that no count is
// negative.
inline constexpr std::int64_t kCalendarEras = 800'000'000;  // of 400 years, before year 0
inline constexpr std::int64_t kCalendarYears = 400 * kCalendarEras;
inline constexpr std::int64_t kCalendarDays = 146097 * kCalendarEras + 719468;  // to 1970-01-01

// The date of a count of days since 1970-01-01 that came from a count of seconds.
constexpr CivilDate civilDate(std::int64_t days) {
  const auto quarters = 4 * static_cast<std::uint64_t>(days + kCalendarDays) + 3;
  const std::uint64_t century = quarters / 146097;
  const std::uint64_t scaled = 2939745ULL * ((quarters % 146097) | 3);
  const auto yearOfCentury = static_cast<std::int64_t>(scaled >> 32);
  const std::uint32_t dayOfYear = static_cast<std::uint32_t>(scaled) / 2939745 / 4;
  const std::uint32_t monthAndDay = 2141 * dayOfYear + 197913;
  const bool nextYear = dayOfYear >= 306;  // January and February
  return {static_cast<std::int64_t>(100 * century) + yearOfCentury + nextYear - kCalendarYears,
          static_cast<int>(monthAndDay >> 16) - (nextYear ? 12 : 0),
          static_cast<int>((monthAndDay & 0xFFFF) / 2141) + 1};
}

// Days since 1970-01-01. The month is 1 to 12, the year that of a tm; any day is counted on from the first of the
// month.
constexpr std::int64_t daysFromCivil(std::int64_t year, int month, std::int64_t day) {
  const bool beforeMarch = month <= 2;
  const auto shifted = static_cast<std::uint64_t>(year + kCalendarYears - beforeMarch);
  const std::uint64_t century = shifted / 100;
  const std::uint64_t yearDays = 1461 * shifted / 4 - century + century / 4;
  const unsigned int monthDays = (979 * static_cast<unsigned int>(beforeMarch ? month + 12 : month) - 2919) / 32;
  return static_cast<std::int64_t>(yearDays + monthDays) + day - 1 - kCalendarDays;
}

// 0 is Sunday.
constexpr int weekday(std::int64_t days) {
  const auto rest = static_cast<int>((days + 4) % 7);
  return rest < 0 ? rest + 7 : rest;
}

constexpr CivilTime civilTime(std::int64_t seconds) {
  const auto [days, clock] = splitCount<kSecondsPerDay>(seconds);
  const auto second = static_cast<std::uint32_t>(clock);
  const std::uint32_t minute = second / 60;
  return {civilDate(days), static_cast<int>(minute / 60), static_cast<int>(minute % 60), static_cast<int>(second % 60)};
}

// The years that a tm can hold: it counts them from 1900 in an int.
inline constexpr std::int64_t kFirstCalendarSecond = daysFromCivil(1900LL + INT32_MIN, 1, 1) * kSecondsPerDay;
inline constexpr std::int64_t kEndCalendarSecond = daysFromCivil(1901LL + INT32_MAX, 1, 1) * kSecondsPerDay;

constexpr bool hasCalendarYear(std::int64_t seconds) {
  return seconds >= kFirstCalendarSecond && seconds < kEndCalendarSecond;
}

// What is printed for seconds: those outside the calendar's years count as 1970-01-01 00:00:00.
constexpr std::int64_t secondsOrEpoch(std::int64_t seconds) { return hasCalendarYear(seconds) ? seconds : 0; }

// All fields of a tm, as gmtime_r gives them; nothing outside the calendar's years.
std::optional<std::tm> brokenDownTime(std::int64_t seconds);

// Seconds of a tm whose fields may have any value: month 12 is January of the next year, day 0 the last of the month
// before. Weekday, day of the year and zone do not count.
std::int64_t secondsOf(const std::tm& time);

}  // namespace kyv_internal
