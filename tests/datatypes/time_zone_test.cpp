#include "datatypes/time_zone.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

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

}  // namespace
