#include "kyv/time_from_string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <ctime>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "datatypes/civil_time.h"
#include "datatypes/model_reader.h"
#include "tests/support/model_entry_points.h"
#include "tests/support/readings.h"

namespace {

using kyv::TimeType;
using kyv_test::readByFunction;

constexpr const char* kFails = "";

// What a bigdatetime's text says, as the C library prints it: "2024-05-07 00:00:00.000000".
std::string readBy(const char* model, const char* text) {
  long micros = 0;
  if (!DataTypes::BigDateTimeFromString(text, model, micros)) return kFails;
  const auto [seconds, rest] = kyv_internal::splitCount<1'000'000>(micros);
  const std::time_t whole = seconds;
  std::tm clock;
  gmtime_r(&whole, &clock);
  char printed[64];
  const std::size_t length = std::strftime(printed, sizeof printed, "%Y-%m-%d %H:%M:%S.", &clock);
  std::snprintf(printed + length, sizeof printed - length, "%06d", rest);
  return printed;
}

struct Case {
  const char* model;
  const char* readings;  // each text's value begins with its result; without one it must fail
};

void expectValues(const std::vector<Case>& cases) {
  for (const Case& row : cases) {
    for (const auto& [text, expected] : kyv_test::readings(row.readings)) {
      const std::string read = readBy(row.model, text.c_str());
      EXPECT_EQ(expected.empty() ? read : read.substr(0, expected.size()), expected) << row.model << " of " << text;
    }
  }
}

TEST(TimeFromString, CountsInTheUnitOfItsType) {
  constexpr const char* kUsual = "YYYY-MM-DD HH24:MI:SS.FF";
  struct Row {
    const char* model;
    const char* text;
    std::int64_t date, timestamp, bigdatetime;
  };
  for (const Row& row : {Row{kUsual, "2009-02-13 23:31:30.123987", 1234567890, 1234567890123, 1234567890123987},
                         {kUsual, "1969-12-31 23:59:59.999999", -1, -1, -1},
                         {"SE", "1234567890", 1234567890, 1234567890000, 1234567890000000},
                         {"MS", "1234567890123", 1234567890, 1234567890123, 1234567890123000},
                         {"MIC", "1234567890123987", 1234567890, 1234567890123, 1234567890123987},
                         {"", "", -2208988800, -2208988800000, -2208988800000000}}) {
    const std::int64_t expected[] = {row.date, row.date, row.timestamp, row.bigdatetime};
    for (const TimeType type : kyv_test::kTimeTypes) {
      EXPECT_EQ(readByFunction(type, row.text, row.model), expected[static_cast<int>(type)]) << row.model;
    }
  }
}

TEST(TimeFromString, ReadsNumbersInTheirRanges) {
  expectValues({{"YYYY", "7=7-01-01|20245|-2024||x"},
                {"RRRR", "2024=2024-01-01"},
                {"YYYYMMDD", "20240507=2024-05-07|20230231=2023-03-03"},
                {"DD", "0|31=1900-01-31|32"},
                {"MM", "0|13"},
                {"HH24", "24"},
                {"HH12", "0"},
                {"HH", "13"},
                {"MI", "60"},
                {"SS", "60"},
                {"SSSSS", "86399=1900-01-01 23:59:59|86400|43200=1900-01-01 12:00:00"},
                {"FF", "5=1900-01-01 00:00:00.500000|123=1900-01-01 00:00:00.123000|1234567"},
                {"YYYY-MM", "2024-"}});
}

TEST(TimeFromString, TurnsTheTwelveHourClock) {
  expectValues({{"HH AM", "12 AM=1900-01-01 00:|12 pm=1900-01-01 12:"},
                {"HH12 pm", "1 Pm=1900-01-01 13:"},
                {"PM HH", "aM 11=1900-01-01 11:"},
                {"HH", "12=1900-01-01 00:"},
                {"AM", "PM=1900-01-01 12:|XM|A"},
                {"HH24", "0=1900-01-01 00:|12=1900-01-01 12:|23=1900-01-01 23:"}});
}

TEST(TimeFromString, ReadsNamesInTheLettersOfTheirToken) {
  expectValues({{"MON", "MAR=1900-03|Mar|MARCH"},
                {"Mon", "Mar=1900-03"},
                {"mon", "mar=1900-03|ma"},
                {"MONTH", "MARCH=1900-03|MAR"},
                {"Month DD", "September 9=1900-09-09"},
                {"DAY, DD", "TUESDAY, 5=1900-01-05"},
                {"Dy DD", "Tue 5=1900-01-05"},
                {"dy", "Tue"},
                {"RM", "VIII=1900-08|XIII"},
                {"Rm", "Xii=1900-12"},
                {"rm", "iv=1900-04"},
                {"MM", "mAY=1900-05|Ma"},
                {"MM-DD", "SEPTEMBER-1=1900-09-01|sep-1=1900-09-01"},
                {"FXMM", "March=1900-03"}});
}

TEST(TimeFromString, ShortYearsAreNearToday) {
  struct Row {
    int digits, now, year;
  };
  using Token = kyv_internal::ModelToken;
  for (const Row& row : {Row{50, 2049, 1950}, Row{99, 2000, 1999}, Row{50, 2050, 2050}, Row{99, 2099, 2099},
                         Row{0, 2026, 2000}, Row{49, 2049, 2049}, Row{10, 2060, 4160}}) {
    EXPECT_EQ(kyv_internal::yearOfDigits(Token::kRR, row.digits, row.now), row.year) << row.digits << ' ' << row.now;
  }
  EXPECT_EQ(kyv_internal::yearOfDigits(Token::kYY, 99, 2026), 2099);
  EXPECT_EQ(kyv_internal::yearOfDigits(Token::kYYY, 1, 2026), 2001);
  EXPECT_EQ(kyv_internal::yearOfDigits(Token::kY, 0, 2026), 2020);
  const std::time_t now = std::time(nullptr);
  std::tm today;
  gmtime_r(&now, &today);
  const std::string century = std::to_string(19 + today.tm_year / 100);
  EXPECT_EQ(readBy("YY", "7").substr(0, 4), century + "07");
}

TEST(TimeFromString, ABlankSwallowsOneCharacter) {
  expectValues({{"YYYY MM", "2024x05=2024-05|2024   12=2024-12"},
                {"YYYY\tMM", "2024x05=2024-05"},
                {"YYYY  MM", "2024 05=2024-05|2024 12=2024-02|2024"},
                {"YYYY ", "2024=2024"},
                {"YYYY   ", "2024=2024"},
                {"YYYY  x", "2024"},
                {"FXYYYY MM", "2024x05|2024\t05=2024-05"},
                {"FXYYYY ", "2024"}});
}

TEST(TimeFromString, PunctuationMatchesPunctuationOutOfExactMode) {
  expectValues({{"YYYY-MM-DD", "2024/05~07=2024-05-07"},
                {"FXYYYY-MM-DD", "2024/05/07"},
                {"YYYY-MM", "2024x05"},
                {"YYYYxMM", "2024-05|2024X05"},
                {"YYYY\"DD\"MM", "2024DD05=2024-05|2024\"DD\"05"},
                {"YYYY\"DD", "2024DD"}});
}

TEST(TimeFromString, SkipsWhiteSpaceOutOfExactMode) {
  expectValues({{"YYYY-MM", "\v 2024 \t-\n05 \r\f=2024-05|2024-05x"},
                {"FXYYYY-MM", " 2024-05|2024-05 "},
                {"FXYYYY-MMFX", "2024-05 =2024-05"},
                {"YYYY", "  "}});
}

TEST(TimeFromString, ExactModeWantsAllDigitsUnlessInFillMode) {
  expectValues({{"FXYYYY-MM-DD", "2024-5-7"},
                {"FXFMYYYY-MM-DD", "2024-5-7=2024-05-07"},
                {"FXFF", "12345|123456=1900-01-01 00:00:00.123456"},
                {"FXSSSSS", "1"},
                {"FXYYY", "24"},
                {"FXSE", "1234567890|00000000001234567890=2009-02-13 23:31:30"},
                {"FXFMSE", "1234567890=2009-02-13 23:31:30"},
                {"FXMIC", "123456"},
                {"FXMS", "00000000000000000001=1970-01-01 00:00:00.001"},
                {"FXHH24 TZH", "10 +2|10 +02=1900-01-01 12:"}});
}

TEST(TimeFromString, NoFieldIsGivenTwiceOrBesideACount) {
  const char* const kEnough = "10 11 12 10 11 12";
  for (const char* model :
       {"DD DD",    "YYYY YY",  "MM MON",  "HH HH24", "HH24 AM",  "AM PM",   "AM HH24", "MI MI",  "SS SS",    "FF FF",
        "SSSSS MI", "SS SSSSS", "SE SS",   "SE DD",   "MIC YYYY", "MIC FF",  "FF MIC",  "MS HH",  "SE AM",    "SE TZH",
        "DD SE",    "SS SE",    "SS MS",   "MS MS",   "SE SE",    "SE MS",   "MS SE",   "MIC SE", "YYYY MIC", "TZH TZH",
        "TZM TZM",  "TZR TZD",  "TZR TZH", "TZR TZM", "TZH TZR",  "TZM TZR", "SE TZR"}) {
    for (const char* text : {kEnough, "10 11", "AM 10", "10 AM", "AM PM", "10 AUG", "UTC UTC", "UTC 1", "1 UTC"}) {
      EXPECT_EQ(readBy(model, text), kFails) << model << " of " << text;
    }
  }
}

TEST(TimeFromString, CountsTakeFractions) {
  expectValues({{"SE.FF", "10.25=1970-01-01 00:00:10.250000"},
                {"FF SE", "25 10=1970-01-01 00:00:10.250000"},
                {"MS FF", "1250 5=1970-01-01 00:00:01.750000"},
                {"FF MS", "123456 1900=1970-01-01 00:00:02.023000"},
                {"DAY SE", "MONDAY 86400=1970-01-02 00:00:00"},
                {"AM SE", "PM 0=1970-01-01 00:00:00"}});
}

TEST(TimeFromString, SomeTokensCannotBeRead) {
  for (const char* model : {"D", "DDD", "Q", "W", "WW", "FF1", "FF9", "DAYS", "HOURS", "MINUTES", "SECONDS"}) {
    for (const char* text : {"1", "001", "01", "10"}) EXPECT_EQ(readBy(model, text), kFails) << model;
  }
}

TEST(TimeFromString, AddsTheOffsetThatATextNames) {
  expectValues({{"HH24:MI TZH", "10:00 +02=1900-01-01 12:00|10:00 2=1900-01-01 12:00"},
                {"HH24:MI TZH:TZM", "10:00 -05:30=1900-01-01 04:30|10:00 -00:30=1900-01-01 10:30"},
                {"HH24:MI TZM TZH", "10:00 30 -05=1900-01-01 05:30"},
                {"HH24 TZH", "10 +-02|10 +"},
                {"TZH SE", "+01 0=1970-01-01 01:00:00"},
                {"TZH MIC", "+01 7=1970-01-01 00:00:00.000007"}});
}

TEST(TimeFromString, ShiftsFromUtcIntoTheZoneThatATextNames) {
  expectValues({{"YYYY-MM-DD HH24 TZR",
                 "2024-01-05 12 America/New_York=2024-01-05 07:|2024-07-05 12 America/New_York=2024-07-05 08:"},
                {"YYYY-MM-DD HH24:MI:SS.FF TZD", "2024-07-05 12:00:00.123456 EST=2024-07-05 07:00:00.123456"},
                {"YYYY TZR", "1969 GMT+5=1969-01-01 05:"},
                {"TZR YYYY", "UTC 2024=2024-01-01 00:"},
                {"TZR, YYYY", "Etc/GMT-3, 2024=2024-01-01 03:"},
                {"TZR", "Nowhere||:"},
                {"TZR SE", "Asia/Kolkata 0=1970-01-01 05:30"}});
}

TEST(TimeFromString, FailsBeyond64BitsAndBeyondTheCalendar) {
  using enum TimeType;
  constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();
  struct Row {
    TimeType type;
    const char* model;
    const char* text;
    std::optional<std::int64_t> expected = std::nullopt;
  };
  for (const Row& row : {Row{kTimestamp, "MS", "9223372036854775807", kHighest},
                         {kTimestamp, "MS", "9223372036854775808"},
                         {kTimestamp, "MS", "99999999999999999999"},
                         {kTimestamp, "MS FF", "9223372036854775807 001"},
                         {kBigDateTime, "MS", "9223372036854775807"},
                         {kBigDateTime, "MS", "9223372036854775", 9223372036854775000},
                         {kBigDateTime, "MIC", "9223372036854775807", kHighest},
                         {kDate, "MIC", "9223372036854775807", kHighest / 1000000},
                         {kDate, "SE", "67768036191676799", 67768036191676799},
                         {kDate, "SE", "67768036191676800"},
                         {kDate, "TZH SE", "+99 67768036191676799", 67768036191676799 + 99 * 3600},
                         {kTimestamp, "SE", "9223372036854775", 9223372036854775000},
                         {kTimestamp, "SE", "9223372036854776"},
                         {kDate, "TZR SE", "GMT 9223372036854", 9223372036854},
                         {kDate, "TZR SE", "GMT 9223372036855"},
                         {kDate, "YYYY-MM-DD", "0000-01-01", -62167219200}}) {
    EXPECT_EQ(readByFunction(row.type, row.text, row.model), row.expected) << row.model << ' ' << row.text;
  }
  long untouched = 7;
  EXPECT_FALSE(DataTypes::DateFromString("x", "SE", untouched));
  EXPECT_EQ(untouched, 7);
}

TEST(TimeFromString, KeepsWhatItFound) {
  long value = 7;
  DataTypes::TimeFormatParser_TimeFromString parser("Sunday 23:59 +01", 16, value);
  EXPECT_TRUE(parser.Parse("Day HH24:MI TZH", 15));
  EXPECT_EQ(parser.fields.weekday, 0);
  EXPECT_EQ(parser.fields.hour, 11);
  EXPECT_EQ(parser.fields.halfOfDay, 2);
  EXPECT_EQ(parser.fields.second, -1);
  EXPECT_EQ(parser.fields.zoneOffset, 3600);
  EXPECT_TRUE(parser.fields.hasZoneHours);
}

// Takes a day in brackets, and stores it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // of the base
struct BracketParser final : DataTypes::TimeFormatParser_TimeFromString {
  using TimeFormatParser_TimeFromString::TimeFormatParser_TimeFromString;
  void OnFieldDD() override {
    OnChar('[');
    TimeFormatParser_TimeFromString::OnFieldDD();
    OnChar(']');
    *value = fields.day;
  }
};
#pragma GCC diagnostic pop

TEST(TimeFromString, AFailureStaysThoughMoreOfAFieldIsRead) {
  long day = 0;
  EXPECT_TRUE(BracketParser("[12]", 4, day).Parse("DD", 2));
  EXPECT_EQ(day, 12);
  EXPECT_FALSE(BracketParser("12]", 3, day).Parse("DD", 2));
  EXPECT_FALSE(BracketParser("[x]", 3, day).Parse("DD", 2));
}

// --- Both directions ------------------------------------------------------------------------------------------------

struct WholeModel {
  const char *printed, *read;
  long mostUnitsPerSecond = 1'000'000;  // it drops what is below
};

constexpr WholeModel kWholeModels[] = {
    {"YYYY-MM-DD HH24:MI:SS.FF", "YYYY-MM-DD HH24:MI:SS.FF"},
    {"YYYY-MM-DD HH24:MI:SS.FF", "FXYYYY-MM-DD HH24:MI:SS.FF"},
    {"FMYYYY-MM-DD HH24:MI:SSFM.FF", "FXFMYYYY-MM-DD HH24:MI:SS.FF"},
    {"YYYYMMDDHH24MISSFF", "YYYYMMDDHH24MISSFF"},
    {"DD-MON-YYYY HH:MI:SS PM FF", "DD-MON-RRRR HH:MI:SS PM FF"},
    {"Day, DD. Month YYYY \"at\" HH12:MI:SS.FF am", "Day, DD. Month YYYY \"at\" HH12:MI:SS.FF am"},
    {"DY RM/DD/YYYY SSSSS,FF", "DY RM/DD/YYYY SSSSS,FF"},
    {"TZH YYYY-MM-DD HH24:MI:SS.FF TZM", "TZH YYYY-MM-DD HH24:MI:SS.FF TZM"},
    {"MIC", "MIC"},
    {"FMMIC", "MIC"},
    {"MS", "MS", 1000},
    {"SE", "SE", 1},
    {"SE.FF", "SE.FF"},
};

// Values since 1970 alone: before it the fraction is printed with a sign.
TEST(TimeFromString, ReadsWhatWasPrinted) {
  std::mt19937_64 random(7);
  constexpr long kSecondsToYear10000 = 253402300800;
  for (int i = 0; i < 2000; ++i) {
    for (const TimeType type : kyv_test::kTimeTypes) {
      const auto value = static_cast<long>(random() >> 1) % (kSecondsToYear10000 * kyv_test::unitsPerSecond(type));
      for (const WholeModel& model : kWholeModels) {
        if (kyv_test::unitsPerSecond(type) > model.mostUnitsPerSecond) continue;
        const std::string text = kyv_test::printedByFunction(type, value, model.printed, "UTC");
        ASSERT_EQ(readByFunction(type, text, model.read), value) << model.read << " of " << text;
      }
    }
  }
}

TEST(TimeFromString, ReadsEveryDateOfFourDigitYearsAsTheCLibraryDoes) {
  for (int year = 1; year <= 9999; ++year) {
    for (int month = 1; month <= 12; ++month) {
      std::tm date{};
      date.tm_year = year - 1900;
      date.tm_mon = month - 1;
      date.tm_mday = 1 + (year * 7 + month) % 31;
      char text[32];
      std::snprintf(text, sizeof text, "%04d-%02d-%02d", year, month, date.tm_mday);
      long seconds = -7;
      ASSERT_TRUE(DataTypes::DateFromString(text, "YYYY-MM-DD", seconds)) << text;
      ASSERT_EQ(seconds, timegm(&date)) << text;
    }
  }
}

TEST(TimeFromString, TellsCharactersApartAsTheCLibraryDoes) {
  for (int c = 1; c < 256; ++c) {
    const char text[] = {'7', static_cast<char>(c), '\0'};
    const bool space = std::isspace(c) != 0, punctuation = std::ispunct(c) != 0;
    EXPECT_EQ(readBy("YYYY", text) != kFails, space || std::isdigit(c) != 0) << c;
    EXPECT_EQ(readBy("YYYY-", text) != kFails, punctuation) << c;
  }
}

}  // namespace
