#include "datatypes/civil_time.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "kyv/data_value.h"

namespace kyv_internal {
namespace {

constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();

void expectSameFields(const std::tm& time, const std::tm& expected, std::int64_t seconds) {
  ASSERT_TRUE(time.tm_year == expected.tm_year && time.tm_mon == expected.tm_mon && time.tm_mday == expected.tm_mday &&
              time.tm_hour == expected.tm_hour && time.tm_min == expected.tm_min && time.tm_sec == expected.tm_sec &&
              time.tm_wday == expected.tm_wday && time.tm_yday == expected.tm_yday)
      << seconds;
}

TEST(CivilTime, AgreesWithTheLibraryOnEveryDayOfFourDigitYears) {
  const std::int64_t first = daysFromCivil(1, 1, 1);
  const std::int64_t last = daysFromCivil(9999, 12, 31);
  ASSERT_EQ(last - first + 1, 3652059);
  for (std::int64_t day = first; day <= last; ++day) {
    const std::int64_t seconds = day * kSecondsPerDay + (day * 7919 & 0xFFFF);
    std::tm expected;
    ASSERT_TRUE(gmtime_r(&seconds, &expected));
    const std::optional<std::tm> time = brokenDownTime(seconds);
    ASSERT_TRUE(time) << seconds;
    ASSERT_NO_FATAL_FAILURE(expectSameFields(*time, expected, seconds));
    ASSERT_EQ(secondsOf(*time), seconds);
  }
}

TEST(CivilTime, HasFieldsForExactlyTheYearsOfTheLibrary) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 100'000; ++i) {
    const auto seconds = static_cast<std::int64_t>(random()) >> (random() % 64);
    std::tm expected;
    const bool possible = gmtime_r(&seconds, &expected);
    const std::optional<std::tm> time = brokenDownTime(seconds);
    ASSERT_EQ(time.has_value(), possible) << seconds;
    if (!possible) continue;
    ASSERT_NO_FATAL_FAILURE(expectSameFields(*time, expected, seconds));
    ASSERT_EQ(secondsOf(*time), seconds);
  }
  for (const std::int64_t edge : {kFirstCalendarSecond, kEndCalendarSecond - 1}) {
    ASSERT_TRUE(brokenDownTime(edge)) << edge;
    EXPECT_EQ(secondsOf(*brokenDownTime(edge)), edge);
  }
  for (const std::int64_t outside : {kFirstCalendarSecond - 1, kEndCalendarSecond, kLowest, kHighest}) {
    EXPECT_FALSE(brokenDownTime(outside)) << outside;
    EXPECT_EQ(secondsOrEpoch(outside), 0) << outside;
  }
}

TEST(CivilTime, DatesEvery64BitCountOfSeconds) {
  EXPECT_EQ(civilTime(kHighest).date.year, 292277026596);
  EXPECT_EQ(civilTime(kHighest).second, 7);
  EXPECT_EQ(civilTime(kLowest).date.year, -292277022657);
  EXPECT_EQ(civilTime(kLowest).second, 52);
}

TEST(CivilTime, SplitsCountsTowardsThePast) {
  struct Case {
    std::int64_t count, whole;
    int rest;
  };
  for (const Case& row :
       {Case{0, 0, 0}, Case{999, 0, 999}, Case{1000, 1, 0}, Case{-1, -1, 999}, Case{-1000, -1, 0}, Case{-1001, -2, 999},
        Case{kHighest, 9223372036854775, 807}, Case{kLowest, -9223372036854776, 192}}) {
    const auto [whole, rest] = splitCount<1000>(row.count);
    EXPECT_EQ(whole, row.whole) << row.count;
    EXPECT_EQ(rest, row.rest) << row.count;
  }
}

TEST(CivilTime, CountsFieldsOutsideTheirRangesAsTheLibraryDoes) {
  std::mt19937 random(2);
  for (int i = 0; i < 100'000; ++i) {
    const auto any = [&](int limit) { return std::uniform_int_distribution(-limit, limit)(random); };
    std::tm time{};
    time.tm_year = any(100'000);
    time.tm_mon = any(100);
    time.tm_mday = any(1000);
    time.tm_hour = any(10'000);
    time.tm_min = any(1'000'000);
    time.tm_sec = any(2'000'000'000);
    std::tm normalised = time;
    ASSERT_EQ(DataTypes::tm2sec(&time), timegm(&normalised));
  }
}

TEST(CivilTime, CountsTheFarthestFieldsWithoutOverflow) {
  constexpr int kMost = std::numeric_limits<int>::max();
  constexpr int kLeast = std::numeric_limits<int>::min();
  std::tm time{};
  time.tm_year = time.tm_mon = time.tm_mday = time.tm_hour = time.tm_min = time.tm_sec = kMost;
  EXPECT_GT(DataTypes::tm2sec(&time), 0);
  time.tm_year = time.tm_mon = time.tm_mday = time.tm_hour = time.tm_min = time.tm_sec = kLeast;
  EXPECT_LT(DataTypes::tm2sec(&time), 0);
}

}  // namespace
}  // namespace kyv_internal
