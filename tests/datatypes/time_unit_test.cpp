#include "kyv/time_unit.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

using DataTypes::TimeUnit;

constexpr unsigned int kRefused = 0xFFFFFFFF;
constexpr long kLowest = std::numeric_limits<long>::min();
constexpr long kHighest = std::numeric_limits<long>::max();
constexpr TimeUnit kBeyond = static_cast<TimeUnit>(8);
constexpr TimeUnit kFarBeyond = static_cast<TimeUnit>(0xFFFFFFFF);

TEST(TimeUnit, IsFoundByItsUpperCaseNames) {
  const std::vector<std::vector<const char*>> names = {
      {nullptr},
      {"", "seconds", "Day", "DA", "DAYSS", "SECOND ", "HRS", "UNKNOWN"},
      {"MICROS", "MICROSECOND", "MICROSECONDS"},
      {"MILLIS", "MILLISECOND", "MILLISECONDS"},
      {"SEC", "SECOND", "SECONDS"},
      {"MIN", "MINUTE", "MINUTES"},
      {"HR", "HOUR", "HOURS"},
      {"DAY", "DAYS"},
  };
  for (unsigned int unit = 0; unit < names.size(); ++unit) {
    for (const char* name : names[unit]) EXPECT_EQ(DataTypes::getTimeUnit(name), unit) << (name ? name : "null");
  }
}

TEST(TimeUnit, HasANameAndALargestAmount) {
  struct Case {
    TimeUnit unit;
    const char *name, *largest, *smallest;
  };
  for (const Case& row : {Case{DataTypes::kNoTimeUnit, "UNKNOWN", "0", "0"},
                          {DataTypes::kUnknownTimeUnit, "UNKNOWN", "0", "0"},
                          {DataTypes::kMicrosecondUnit, "MICROSECOND", "9223372036854775807", "-9223372036854775807"},
                          {DataTypes::kMillisecondUnit, "MILLISECOND", "9223372036854775", "-9223372036854775"},
                          {DataTypes::kSecondUnit, "SECOND", "9223372036854", "-9223372036854"},
                          {DataTypes::kMinuteUnit, "MINUTE", "153722867280", "-153722867280"},
                          {DataTypes::kHourUnit, "HOUR", "2562047788", "-2562047788"},
                          {DataTypes::kDayUnit, "DAY", "106751991", "-106751991"},
                          {kBeyond, "UNKNOWN", "0", "0"},
                          {kFarBeyond, "UNKNOWN", "0", "0"}}) {
    EXPECT_EQ(DataTypes::getTimeUnitStr(row.unit), row.name);
    EXPECT_EQ(DataTypes::getTimeUnitMaxStr(row.unit), row.largest);
    EXPECT_EQ(DataTypes::getTimeUnitMinStr(row.unit), row.smallest);
    EXPECT_EQ(DataTypes::getTimeUnitMax(row.unit), std::stol(row.largest));
  }
}

TEST(TimeUnit, GivesWholeSecondsOfThirtyOneBitsAndRefusesPartsOfOne) {
  constexpr int kMost = std::numeric_limits<int>::max();
  using enum TimeUnit;
  const struct {
    TimeUnit unit;
    std::vector<std::pair<int, unsigned int>> seconds;  // of an amount
  } rows[] = {
      {kMicrosecondUnit, {{999'999, kRefused}, {0, kRefused}, {1'999'999, 1}, {kMost, 2147}}},
      {kMillisecondUnit, {{999, kRefused}, {1000, 1}, {kMost, 2147483}}},
      {kSecondUnit, {{0, 0}, {kMost, 2147483647}, {-1, kRefused}}},
      {kMinuteUnit, {{35791394, 2147483640}, {35791395, kRefused}}},
      {kHourUnit, {{596523, 2147482800}, {596524, kRefused}}},
      {kDayUnit, {{24855, 2147472000}, {24856, kRefused}, {kMost, kRefused}, {0, 0}}},
      {kNoTimeUnit, {{1, kRefused}}},
      {kUnknownTimeUnit, {{1, kRefused}}},
      {kBeyond, {{1, kRefused}}},
      {kFarBeyond, {{1, kRefused}}},
  };
  for (const auto& row : rows) {
    for (const auto& [amount, seconds] : row.seconds) {
      EXPECT_EQ(DataTypes::getSeconds(row.unit, amount), seconds) << row.unit << ' ' << amount;
    }
  }
}

TEST(TimeUnit, GivesMicrosecondsOfSixtyFourBits) {
  constexpr long kMicros[] = {1000, 1'000'000, 60'000'000, 3'600'000'000, 86'400'000'000};
  for (unsigned int unit = DataTypes::kMillisecondUnit; unit <= DataTypes::kDayUnit; ++unit) {
    const long largest = DataTypes::getTimeUnitMax(static_cast<TimeUnit>(unit));
    for (const long amount : {largest, -largest, 5L, -5L, 0L}) {
      const long expected = amount * kMicros[unit - DataTypes::kMillisecondUnit];
      long micros = 7;
      EXPECT_TRUE(DataTypes::getMicroSeconds(static_cast<TimeUnit>(unit), amount, micros)) << unit << ' ' << amount;
      EXPECT_EQ(micros, expected) << unit << ' ' << amount;
    }
    for (const long amount : {largest + 1, -largest - 1, kHighest, kLowest}) {
      long micros = 7;
      EXPECT_FALSE(DataTypes::getMicroSeconds(static_cast<TimeUnit>(unit), amount, micros)) << unit << ' ' << amount;
      EXPECT_EQ(micros, 7);
    }
  }
  long micros = 7;
  for (const TimeUnit unit : {DataTypes::kNoTimeUnit, DataTypes::kUnknownTimeUnit, kBeyond, kFarBeyond}) {
    EXPECT_FALSE(DataTypes::getMicroSeconds(unit, 1, micros)) << unit;
  }
  EXPECT_EQ(micros, 7);
  for (const long amount : {kLowest, -1L, kHighest}) {
    EXPECT_TRUE(DataTypes::getMicroSeconds(DataTypes::kMicrosecondUnit, amount, micros));
    EXPECT_EQ(micros, amount);
  }
  EXPECT_TRUE(DataTypes::getMicroSeconds(DataTypes::kSecondUnit, -5, micros));
  EXPECT_EQ(micros, -5'000'000);
  EXPECT_FALSE(DataTypes::getMicroSeconds(DataTypes::kDayUnit, 106'751'992, micros));
}

}  // namespace
