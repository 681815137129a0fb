#include "datatypes/found_fields.h"

#include "datatypes/civil_time.h"

namespace kyv_internal {

using DataTypes::FoundTime;
using enum ModelToken;

// --- Which fields may stand together --------------------------------------------------------------------------------

namespace {

enum Given : GivenFields {
  kYear = 1U << 0,
  kMonth = 1U << 1,
  kDay = 1U << 2,
  kWeekday = 1U << 3,
  kHour = 1U << 4,
  kMinute = 1U << 5,
  kSecond = 1U << 6,
  kFraction = 1U << 7,
  kHalfOfDay = 1U << 8,
  kSeconds = 1U << 9,
  kMillis = 1U << 10,
  kMicros = 1U << 11,
  kZone = 1U << 12,
  kZoneHours = 1U << 13,
  kZoneMinutes = 1U << 14
};

constexpr GivenFields kCounts = kSeconds | kMillis | kMicros;
constexpr GivenFields kClock = kHour | kMinute | kSecond;
constexpr GivenFields kDateAndClock = kYear | kMonth | kDay | kClock;

// A field stands once, and not behind a count, which says all.
constexpr FieldClaim once(GivenFields field) { return {field, field | kCounts}; }

}  // namespace

FieldClaim claimOf(ModelToken token) {
  switch (token) {
    case kYYYY:
    case kRRRR:
    case kRR:
    case kYYY:
    case kYY:
    case kY:
      return once(kYear);
    case kMM:
    case kMON:
    case kMONTH:
    case kRM:
      return once(kMonth);
    case kDD:
      return once(kDay);
    case kDAY:
    case kDY:
      return once(kWeekday);
    case kHH:
    case kHH12:
      return once(kHour);
    case kHH24:
      return once(kHour | kHalfOfDay);
    case kMI:
      return once(kMinute);
    case kSS:
      return once(kSecond);
    case kSSSSS:
      return once(kClock | kHalfOfDay);
    case kAM:
    case kPM:
      return once(kHalfOfDay);
    case kFF:
      return {kFraction, kFraction | kMicros};
    case kSE:
      return {kSeconds, kDateAndClock | kCounts};
    case kMS:
      return {kMillis, kDateAndClock | kCounts};
    case kMIC:
      return {kMicros, kDateAndClock | kFraction | kCounts};
    case kTZH:
      return {kZoneHours, kZoneHours | kZone | kCounts};
    case kTZM:
      return {kZoneMinutes, kZoneMinutes | kZone | kCounts};
    case kTZD:
    case kTZR:
      return {kZone, kZone | kZoneHours | kZoneMinutes | kCounts};
    default:
      return {0, 0};
  }
}

bool tellsYear(GivenFields fields) { return (fields & (kYear | kCounts)) != 0; }

GivenFields givenIn(const FoundTime& found) {
  const auto bit = [](bool given, Given field) { return given ? GivenFields{field} : 0; };
  return bit(found.year != -1, kYear) | bit(found.month != -1, kMonth) | bit(found.day != -1, kDay) |
         bit(found.weekday != -1, kWeekday) | bit(found.hour != -1, kHour) | bit(found.minute != -1, kMinute) |
         bit(found.second != -1, kSecond) | bit(found.fraction != -1, kFraction) |
         bit(found.halfOfDay != 0, kHalfOfDay) | bit(found.hasSeconds, kSeconds) | bit(found.hasMillis, kMillis) |
         bit(found.hasMicros, kMicros) | bit(found.hasZone, kZone) | bit(found.hasZoneHours, kZoneHours) |
         bit(found.hasZoneMinutes, kZoneMinutes);
}

// --- The value of what was found ------------------------------------------------------------------------------------

namespace {

int valueOr(int value, int otherwise) { return value != -1 ? value : otherwise; }

int hourOfDay(const FoundTime& found) {
  const int hour = found.hour == 12 || found.hour < 1 ? 0 : found.hour;
  return found.halfOfDay == 2 ? hour + 12 : hour;
}

std::int64_t secondsOfFields(const FoundTime& found) {
  // Required as is: what is not given is 1900-01-01 00:00:00.
  const std::int64_t days =
      daysFromCivil(valueOr(found.year, 1900), valueOr(found.month, 0) + 1, valueOr(found.day, 1));
  const int clock = 3600 * hourOfDay(found) + 60 * valueOr(found.minute, 0) + valueOr(found.second, 0);
  return days * kSecondsPerDay + clock;
}

std::optional<FoundInstant> instantOfMillis(const FoundTime& found, int fraction) {
  std::int64_t millis;
  if (__builtin_add_overflow(found.millis, fraction / 1000, &millis)) return std::nullopt;
  return FoundInstant{millis / 1000, static_cast<std::int32_t>(millis % 1000) * 1000};
}

std::optional<FoundInstant> instantWithoutZone(const FoundTime& found) {
  const int fraction = valueOr(found.fraction, 0);
  if (found.hasMillis) return instantOfMillis(found, fraction);
  if (!found.hasSeconds) return FoundInstant{secondsOfFields(found), fraction};
  if (!hasCalendarYear(found.seconds)) return std::nullopt;
  return FoundInstant{found.seconds, fraction};
}

}  // namespace

std::optional<FoundInstant> instantOf(const FoundTime& found) {
  std::optional<FoundInstant> instant = instantWithoutZone(found);
  // Required as is: the offset is added, so 10:00 with +02 is 12:00 UTC. It is 0 when none was given.
  if (instant) instant->seconds += found.zoneOffset;
  return instant;
}

std::optional<std::int64_t> countOf(const FoundInstant& instant, std::int64_t microsPerUnit) {
  constexpr std::int64_t kMicrosPerSecond = 1'000'000;
  std::int64_t count;
  if (__builtin_mul_overflow(instant.seconds, kMicrosPerSecond / microsPerUnit, &count) ||
      __builtin_add_overflow(count, instant.micros / microsPerUnit, &count))
    return std::nullopt;
  return count;
}

}  // namespace kyv_internal
