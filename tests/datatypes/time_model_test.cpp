#include "kyv/time_model.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/model_entry_points.h"

namespace {

using kyv::TimeModel;
using kyv::TimeType;
using kyv_test::kTimeTypes;
using kyv_test::printedByFunction;
using kyv_test::printedByModel;
using kyv_test::readByFunction;

constexpr const char* kPieces[] = {"YYYY", "YYYY", "YYY",   "YY",  "Y",   "RR",  "RRRR", "MM",   "MON",  "Month",  "rm",
                                   "DD",   "DD",   "D",     "DDD", "Day", "dy",  "HH",   "HH12", "HH24", "HH24",   "MI",
                                   "MI",   "SS",   "SS",    "FF",  "FF3", "FF6", "FF9",  "FF1",  "AM",   "pm",     "Q",
                                   "W",    "WW",   "SSSSS", "MIC", "MS",  "SE",  "TZH",  "TZM",  "TZR",  "TZD",    "FM",
                                   "FX",   "-",    "-",     ":",   ":",   " ",   " ",    ".",    "T",    "\"at\"", "\"",
                                   "x",    "SSSS", "DAYS",  "/",   "TZX", ", ",  "0",    "9"};

// From plain to whole in the usual order, and anything at all.
std::string randomModel(std::mt19937_64& random) {
  constexpr const char* kUsual[] = {"YYYY-MM-DD HH24:MI:SS",  "YYYY-MM-DD",       "HH24:MI:SS",
                                    "DD.MM.YYYY HH24:MI",     "YYYYMMDDHH24MISS", "FXYYYY/MM/DD HH24:MI:SS",
                                    "DD-Mon-YYYY HH:MI:SS AM"};
  constexpr const char* kEnds[] = {"",   ".FF",  ".FF3", ",FF6", " TZH:TZM",   " FF1",
                                   "FF", " TZR", "Z",    ".FF7", " \"at\" FF2"};
  if (random() % 2 == 0) return std::string(kUsual[random() % std::size(kUsual)]) + kEnds[random() % std::size(kEnds)];
  std::string model;
  for (auto pieces = random() % 8; pieces > 0; --pieces) model += kPieces[random() % std::size(kPieces)];
  return model;
}

// Of any size, many of them near our time.
std::int64_t randomValue(std::mt19937_64& random, TimeType type) {
  constexpr std::int64_t kNear = 6'000'000'000;  // seconds: from 1780 to 2160
  const auto any = static_cast<std::int64_t>(random());
  switch (random() % 6) {
    case 0:
      return any;
    case 1:
      return any >> random() % 64;
    case 2:
      return any % 300'000'000'000 * kyv_test::unitsPerSecond(type);
    default:
      return any % (kNear * kyv_test::unitsPerSecond(type));
  }
}

// The text with a byte changed, taken or added, sometimes.
std::string damaged(std::string text, std::mt19937_64& random) {
  constexpr std::string_view kBytes = "0123456789 -:./xAMPJan\t+";
  if (text.empty() || random() % 3 == 0) return text;
  const std::size_t at = random() % text.size();
  const char byte = kBytes[random() % kBytes.size()];
  switch (random() % 3) {
    case 0:
      text[at] = byte;
      break;
    case 1:
      text.insert(at, 1, byte);
      break;
    default:
      text.erase(at, 1 + random() % 2);
  }
  return text;
}

constexpr const char* kZones[] = {nullptr,        "UTC",       "America/New_York", "Australia/Lord_Howe",
                                  "Asia/Kolkata", "GMT-03:30", "Nowhere"};

TEST(TimeModel, PrintsAndReadsAsTheFunctionsDo) {
  std::mt19937_64 random(11);
  for (int i = 0; i < 1500; ++i) {
    const std::string text = randomModel(random);
    const char* const zone = kZones[random() % std::size(kZones)];
    const TimeModel model(text, zone);
    for (int repeat = 0; repeat < 4; ++repeat) {
      const TimeType type = kTimeTypes[random() % kTimeTypes.size()];
      const std::int64_t value = randomValue(random, type);
      const std::string printed = printedByFunction(type, value, text, zone);
      ASSERT_EQ(printedByModel(model, type, value), printed) << text << ' ' << value << ' ' << (zone ? zone : "");
      if (zone != nullptr && std::string_view(zone) == "Nowhere") continue;
      const std::string read = damaged(printed, random);
      ASSERT_EQ(model.parse(type, read), readByFunction(type, read, text)) << text << " of " << read;
    }
  }
}

TEST(TimeModel, KnowsEveryChangeOfAZone) {
  constexpr const char* kModel = "YYYY-MM-DD HH24:MI:SS.FF TZH:TZM";
  const TimeModel model(kModel, "America/New_York");
  for (const std::int64_t change : {1710054000L, 1730613600L, 1204444800L, -1633280400L, 16740885600L}) {
    std::vector<std::int64_t> instants = {change * 1000 - 1, change * 1000, change * 1000 + 1};
    for (std::int64_t millis = -7'200'000; millis < 7'200'000; millis += 499'999)
      instants.push_back(change * 1000 + millis);
    for (const std::int64_t millis : instants) {
      ASSERT_EQ(printedByModel(model, TimeType::kTimestamp, millis),
                printedByFunction(TimeType::kTimestamp, millis, kModel, "America/New_York"));
    }
  }
}

TEST(TimeModel, ReadsNamesOfItsOwnZoneAndOfOthers) {
  constexpr const char* kModel = "YYYY-MM-DD HH24:MI:SS TZR";
  const TimeModel model(kModel, "America/New_York");
  for (const char* zone : {"America/New_York", "UTC", "Asia/Kolkata", "America/New_Yor", ""}) {
    for (const char* time : {"2024-07-03 09:46:40 ", "2024-01-03 09:46:40 "}) {
      const std::string text = std::string(time) + zone;
      EXPECT_EQ(model.parse(TimeType::kTimestamp, text), readByFunction(TimeType::kTimestamp, text, kModel)) << text;
    }
  }
}

TEST(TimeModel, SaysWhatIsWrongWhere) {
  struct Row {
    const char* model;
    const char* zone;
    kyv::ModelFault format, parse;
  };
  const char* const kPrinted = "this token cannot be printed";
  const char* const kRead = "this token cannot be read";
  const char* const kTwice = "this token reads what a token before it has read";
  const char* const kOpen = "a quotation has no end";
  const char* const kZone = "unknown time zone";
  for (const Row& row : {
           Row{"YYYY-MM", "UTC", {}, {}},
           {"", nullptr, {}, {}},
           {"YYYY RR", "", {kPrinted, 5, 2}, {kTwice, 5, 2}},
           {"YYYY-\"Q\"Q", "UTC", {}, {kRead, 8, 1}},
           {"HH24 AM", "UTC", {}, {kTwice, 5, 2}},
           {"FF3 \"x", "UTC", {kOpen, 4, 2}, {kRead, 0, 3}},
           {"SE FF HOURS", "UTC", {kPrinted, 6, 5}, {kRead, 6, 5}},
           {"MIC FF", "UTC", {}, {kTwice, 4, 2}},
           {"YYYY", "Nowhere", {kZone, 4, 0}, {kZone, 4, 0}},
           {"YYYY", "utc", {kZone, 4, 0}, {kZone, 4, 0}},
       }) {
    const TimeModel model(row.model, row.zone);
    const auto expectFault = [&](const kyv::ModelFault& fault, const kyv::ModelFault& expected, const char* way) {
      EXPECT_STREQ(fault.message, expected.message) << row.model << way;
      EXPECT_EQ(fault.position, expected.position) << row.model << way;
      EXPECT_EQ(fault.length, expected.length) << row.model << way;
    };
    expectFault(model.formatFault(), row.format, " printed");
    expectFault(model.parseFault(), row.parse, " read");
    char room[64];
    EXPECT_EQ(model.format(TimeType::kDate, 0, room).has_value(), row.format.message == nullptr) << row.model;
  }
}

TEST(TimeModel, PrintsIntoTheRoomThereIs) {
  for (const char* text :
       {"YYYY-MM-DD HH24:MI:SS.FF3", "Month DD", "TZR", "\"a long literal text of many bytes\" SE"}) {
    const TimeModel model(text, "America/New_York");
    const std::string expected = printedByFunction(TimeType::kTimestamp, 1, text, "America/New_York");
    EXPECT_GE(model.maxLength(), expected.size()) << text;
    for (std::size_t size = 0; size < 100; ++size) {
      std::string room(size + 1, '#');
      const auto printed = model.format(TimeType::kTimestamp, 1, std::span(room.data(), size));
      ASSERT_EQ(printed.has_value(), size >= expected.size()) << text << ' ' << size;
      if (printed) {
        EXPECT_EQ(*printed, expected);
      }
      EXPECT_EQ(room.back(), '#') << text << ' ' << size;
    }
  }
}

TEST(TimeModel, TellsWhatEveryTokenDid) {
  const auto asText = [](const std::vector<kyv::ModelStep>& steps) {
    std::string text;
    for (const kyv::ModelStep& step : steps) {
      text += std::to_string(step.position) + '+' + std::to_string(step.length) + ' ' + step.meaning + '=' + step.text +
              '|';
    }
    return text;
  };
  const TimeModel model("YYYY\" of \"Mon, HH24");
  const kyv::ModelTrace printed = model.traceFormat(TimeType::kDate, 0);
  EXPECT_EQ(printed.text, "1970 of Jan, 00");
  EXPECT_EQ(asText(printed.steps),
            "0+4 year=1970|5+4 as it stands= of |10+3 month, short name=Jan|13+2 as it stands=, |15+4 hour=00|");
  const kyv::ModelTrace read = model.traceParse(TimeType::kDate, "2024 of Feb; 7 ");
  EXPECT_EQ(read.value, 1706770800);
  EXPECT_EQ(asText(read.steps),
            "0+4 year=2024|5+4 as it stands= of |10+3 month, short name=Feb|13+2 as it stands=; |15+4 hour=7|");
  const kyv::ModelTrace failed = model.traceParse(TimeType::kDate, "2024 of May, xx");
  EXPECT_FALSE(failed.value);
  EXPECT_STREQ(failed.failure, "the text does not go on as the model does");
  EXPECT_EQ(failed.end, 13);
  EXPECT_EQ(failed.steps.back().position, 15);
  const kyv::ModelTrace leftOver = model.traceParse(TimeType::kDate, "2024 of Feb, 7 rest");
  EXPECT_EQ(leftOver.end, 15);
  EXPECT_STREQ(leftOver.failure, "the text goes on behind the model");
  constexpr long kHighest = std::numeric_limits<long>::max();
  EXPECT_STREQ(model.traceFormat(TimeType::kDate, kHighest).failure, "the date is beyond the years of the calendar");
  EXPECT_STREQ(TimeModel("MIC").traceFormat(TimeType::kTimestamp, kHighest).failure, "the count is beyond 64 bits");
  EXPECT_STREQ(TimeModel("MS").traceParse(TimeType::kBigDateTime, std::to_string(kHighest)).failure,
               "the value is out of range");
  EXPECT_EQ(asText(TimeModel("FXDDFM-FXMM").traceParse(TimeType::kDate, "07-5").steps),
            "0+2 exact mode on=|2+2 day of the month=07|4+2 fill mode on=|6+1 as it stands=-|7+2 exact mode off=|"
            "9+2 month=5|");
}

TEST(TimeModel, SeveralThreadsUseOneAtOnce) {
  const TimeModel model("YYYY-MM-DD HH24:MI:SS TZD", "Europe/London");
  std::vector<std::thread> threads;
  for (std::int64_t first : {0, 1, 2, 3}) {
    threads.emplace_back([&model, first] {
      for (std::int64_t seconds = first * 86'400; seconds < 2'000'000'000; seconds += 40'000'000) {
        EXPECT_EQ(printedByModel(model, TimeType::kDate, seconds),
                  printedByFunction(TimeType::kDate, seconds, "YYYY-MM-DD HH24:MI:SS TZD", "Europe/London"));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
