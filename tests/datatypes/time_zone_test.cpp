#include "datatypes/time_zone.h"

#include <gtest/gtest.h>
#include <unicode/strenum.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kyv/time_to_string.h"

namespace {

constexpr long kLowest = std::numeric_limits<long>::min();
constexpr long kHighest = std::numeric_limits<long>::max();
constexpr long kHour = 3'600'000'000;
constexpr long kWinter = 1'704'067'200'000'000;  // 2024-01-01 00:00:00
constexpr long kSummer = 1'720'000'000'000'000;

TEST(TimeZone, IsValidWhenIcuKnowsExactlyItsName) {
  for (const char* name : {"", "UTC", "GMT", "Etc/UTC", "EST", "America/New_York", "GMT+05:30", "Asia/Calcutta"}) {
    EXPECT_TRUE(DataTypes::isValidTimezone(name)) << name;
  }
  EXPECT_TRUE(DataTypes::isValidTimezone(nullptr));
  const std::string longName(1 << 20, 'a');
  for (const char* name :
       {"Etc/Unknown", "utc", "GMT+5", "GMT+99:00", "New_York", "+05:30", "\x80", longName.c_str()}) {
    EXPECT_FALSE(DataTypes::isValidTimezone(name)) << name;
  }
}

struct Case {
  long micros;
  const char* from;
  const char* to;
  long result;
};

TEST(TimeZone, TurnsOneZonesClockIntoAnothers) {
  for (const Case& row : {
           Case{kWinter, "UTC", "UTC", kWinter},
           {kWinter, nullptr, "", kWinter},
           {kWinter, "UTC", "America/New_York", kWinter - 5 * kHour},
           {kSummer, "UTC", "America/New_York", kSummer - 4 * kHour},
           {kSummer, "America/New_York", "UTC", kSummer + 4 * kHour},
           {kWinter, "America/New_York", "Asia/Kolkata", kWinter + 10 * kHour + kHour / 2},
           {kSummer, "Europe/Berlin", "America/New_York", kSummer - 6 * kHour},
           {0, "UTC", "GMT+5", 5 * kHour},  // no valid zone by name, but one that is known
           {1'999, "UTC", "UTC", 1'000},    // whole milliseconds
           {-1'999, "UTC", "GMT", -1'000},
           {kHighest, "UTC", "UTC", kHighest / 1000 * 1000},
           {kLowest, "UTC", "UTC", kLowest / 1000 * 1000},
       }) {
    long result = 7;
    EXPECT_TRUE(DataTypes::toTimeZone(row.micros, row.from, row.to, result)) << row.micros;
    EXPECT_EQ(result, row.result) << row.micros << ' ' << (row.to ? row.to : "");
  }
}

TEST(TimeZone, LeavesTheResultAloneWhenThereIsNone) {
  for (const Case& row : {Case{0, "UTC", "Nowhere", 7},
                          {0, "Nowhere", "UTC", 7},
                          {0, "UTC", "Etc/Unknown", 7},
                          {kHighest, "UTC", "Asia/Kolkata", 7},
                          {kLowest, "Asia/Kolkata", "UTC", 7}}) {
    long result = row.result;
    EXPECT_FALSE(DataTypes::toTimeZone(row.micros, row.from, row.to, result)) << row.to;
    EXPECT_EQ(result, row.result);
  }
}

TEST(TimeZone, HasAnOffsetAtAnyInstant) {
  const auto zone = kyv_internal::Zone::open("America/New_York");
  ASSERT_TRUE(zone);
  for (const double instant : {-1e300, -9.3e24, 0.0, 9.3e24, 1e300}) {
    const auto offset = zone->offsetAt(instant);
    ASSERT_TRUE(offset) << instant;
    EXPECT_EQ(offset->raw, -5 * 3'600'000) << instant;
  }
}

std::vector<std::string> allZones() {
  UErrorCode error = U_ZERO_ERROR;
  const std::unique_ptr<icu::StringEnumeration> names(icu::TimeZone::createEnumeration(error));
  std::vector<std::string> zones = {"GMT+05:30", "UTC"};
  while (const char* name = names->next(nullptr, error)) zones.emplace_back(name);
  return zones;
}

// Days and hours, around which rules are written, and seconds anywhere, in the years of a type's calendar and far
// beyond.
std::vector<std::int64_t> instantsToAsk(std::mt19937_64& random) {
  std::vector<std::int64_t> instants;
  const auto among = [&](std::int64_t first, std::int64_t last, std::int64_t step) {
    const auto steps = static_cast<std::uint64_t>((last - first) / step);
    instants.push_back(first + static_cast<std::int64_t>(random() % steps) * step);
  };
  constexpr std::int64_t kYear = 31'556'952;
  for (int i = 0; i < 40; ++i) {
    among(-2'208'988'800, 4'102'444'800, 1800);      // 1900 to 2100
    among(4'102'444'800, 253'402'300'800, 1);        // to 9999
    among(-62'135'596'800, -2'208'988'800, 86'400);  // from year 1
    among(-5'000'000 * kYear, 5'000'000 * kYear, 1);
  }
  return instants;
}

TEST(DaylightTable, AgreesWithIcuInEveryZone) {
  std::mt19937_64 random(3);
  for (const std::string& name : allZones()) {
    const auto zone = kyv_internal::Zone::open(name.c_str());
    ASSERT_TRUE(zone) << name;
    const kyv_internal::DaylightTable table = zone->daylightTable();
    for (const std::int64_t seconds : instantsToAsk(random)) {
      ASSERT_EQ(table.inForceAt(seconds), zone->offsetAt(static_cast<double>(seconds) * 1000)->daylight)
          << name << ' ' << seconds;
    }
  }
}

// Every half hour of the years around the end of the tables, and the seconds beside every change of some years.
TEST(DaylightTable, KnowsChangesToTheSecond) {
  for (const char* name :
       {"America/New_York", "Europe/Dublin", "Australia/Lord_Howe", "Africa/Casablanca", "America/Nuuk"}) {
    const auto zone = kyv_internal::Zone::open(name);
    const kyv_internal::DaylightTable table = zone->daylightTable();
    const auto inForce = [&](std::int64_t seconds) {
      return zone->offsetAt(static_cast<double>(seconds) * 1000)->daylight;
    };
    for (const std::int64_t from : {1'577'836'800L, 2'082'758'400L, 4'102'444'800L, 16'725'225'600L, 16'756'761'600L}) {
      for (std::int64_t hour = from; hour < from + 2 * 366 * 86'400L; hour += 1800) {
        ASSERT_EQ(table.inForceAt(hour), inForce(hour)) << name << ' ' << hour;
        if (inForce(hour) != inForce(hour - 1800)) {
          ASSERT_EQ(table.inForceAt(hour - 1), inForce(hour - 1)) << name << ' ' << hour;
        }
      }
    }
  }
}

}  // namespace
