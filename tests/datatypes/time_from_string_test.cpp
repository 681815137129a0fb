#include "kyv/time_from_string.h"

#include <gtest/gtest.h>

#include <array>
#include <cctype>
#include <cstring>
#include <ctime>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "datatypes/civil_time.h"
#include "datatypes/model_reader.h"
#include "kyv/time_to_string.h"

namespace {

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
  const char* text;
  const char* expected;  // what it begins with
};

void expectValues(const std::vector<Case>& cases) {
  for (const Case& row : cases) {
    const std::string read = readBy(row.model, row.text);
    EXPECT_EQ(*row.expected == '\0' ? read : read.substr(0, std::strlen(row.expected)), row.expected)
        << row.model << " of " << row.text;
  }
}

TEST(TimeFromString, CountsInTheUnitOfItsType) {
  struct Row {
    const char* model;
    const char* text;
    long timestamp, date, bigdatetime;
  };
  for (const Row& row : {
           Row{"YYYY-MM-DD HH24:MI:SS.FF", "2009-02-13 23:31:30.123987", 1234567890123, 1234567890, 1234567890123987},
           {"YYYY-MM-DD HH24:MI:SS.FF", "1969-12-31 23:59:59.999999", -1, -1, -1},
           {"HH24:MI:SS", "00:00:01", -2208988799000, -2208988799, -2208988799000000},
           {"SE", "1234567890", 1234567890000, 1234567890, 1234567890000000},
           {"MS", "1234567890123", 1234567890123, 1234567890, 1234567890123000},
           {"MIC", "1234567890123987", 1234567890123, 1234567890, 1234567890123987},
           {"", "", -2208988800000, -2208988800, -2208988800000000},
       }) {
    std::array<long, 4> values{};
    ASSERT_TRUE(DataTypes::TimestampFromString(row.text, row.model, values[0])) << row.model;
    ASSERT_TRUE(DataTypes::DateFromString(row.text, row.model, values[1])) << row.model;
    ASSERT_TRUE(DataTypes::TimeFromString(row.text, row.model, values[2])) << row.model;
    ASSERT_TRUE(DataTypes::BigDateTimeFromString(row.text, row.model, values[3])) << row.model;
    EXPECT_EQ(values, (std::array{row.timestamp, row.date, row.date, row.bigdatetime})) << row.model;
  }
}

TEST(TimeFromString, ReadsNumbersInTheirRanges) {
  expectValues({
      {"YYYY", "7", "7-01-01"},
      {"RRRR", "2024", "2024-01-01"},
      {"YYYY", "20245", kFails},
      {"YYYY", "-2024", kFails},
      {"YYYYMMDD", "20240507", "2024-05-07"},
      {"DD", "0", kFails},
      {"DD", "31", "1900-01-31"},
      {"DD", "32", kFails},
      {"YYYYMMDD", "20230231", "2023-03-03"},
      {"MM", "0", kFails},
      {"MM", "13", kFails},
      {"HH24", "24", kFails},
      {"HH12", "0", kFails},
      {"HH", "13", kFails},
      {"MI", "60", kFails},
      {"SS", "60", kFails},
      {"SSSSS", "86399", "1900-01-01 23:59:59"},
      {"SSSSS", "86400", kFails},
      {"SSSSS", "43200", "1900-01-01 12:00:00"},
      {"FF", "5", "1900-01-01 00:00:00.500000"},
      {"FF", "123", "1900-01-01 00:00:00.123000"},
      {"FF", "1234567", kFails},
      {"YYYY", "", kFails},
      {"YYYY-MM", "2024-", kFails},
      {"YYYY", "x", kFails},
  });
}

TEST(TimeFromString, TurnsTheTwelveHourClock) {
  expectValues({
      {"HH AM", "12 AM", "1900-01-01 00:"},
      {"HH AM", "12 pm", "1900-01-01 12:"},
      {"HH12 pm", "1 Pm", "1900-01-01 13:"},
      {"PM HH", "aM 11", "1900-01-01 11:"},
      {"HH", "12", "1900-01-01 00:"},
      {"AM", "PM", "1900-01-01 12:"},
      {"AM", "XM", kFails},
      {"AM", "A", kFails},
      {"HH24", "0", "1900-01-01 00:"},
      {"HH24", "12", "1900-01-01 12:"},
      {"HH24", "23", "1900-01-01 23:"},
  });
}

TEST(TimeFromString, ReadsNamesInTheLettersOfTheirToken) {
  expectValues({
      {"MON", "MAR", "1900-03"},
      {"MON", "Mar", kFails},
      {"Mon", "Mar", "1900-03"},
      {"mon", "mar", "1900-03"},
      {"MONTH", "MARCH", "1900-03"},
      {"MONTH", "MAR", kFails},
      {"MON", "MARCH", kFails},
      {"mon", "ma", kFails},
      {"Month DD", "September 9", "1900-09-09"},
      {"DAY, DD", "TUESDAY, 5", "1900-01-05"},
      {"Dy DD", "Tue 5", "1900-01-05"},
      {"dy", "Tue", kFails},
      {"RM", "VIII", "1900-08"},
      {"Rm", "Xii", "1900-12"},
      {"rm", "iv", "1900-04"},
      {"RM", "XIII", kFails},
      {"MM", "mAY", "1900-05"},
      {"MM-DD", "SEPTEMBER-1", "1900-09-01"},
      {"MM-DD", "sep-1", "1900-09-01"},
      {"FXMM", "March", "1900-03"},
      {"MM", "Ma", kFails},
  });
}

TEST(TimeFromString, ShortYearsAreNearToday) {
  struct Row {
    int digits, now, year;
  };
  using Token = kyv_internal::ModelToken;
  for (const Row& row : {Row{50, 2049, 1950},
                         {99, 2000, 1999},
                         {50, 2050, 2050},
                         {99, 2099, 2099},
                         {0, 2026, 2000},
                         {49, 2049, 2049},
                         {10, 2060, 4160}}) {
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
  expectValues({
      {"YYYY MM", "2024x05", "2024-05"},
      {"YYYY\tMM", "2024x05", "2024-05"},
      {"YYYY  MM", "2024 05", "2024-05"},
      {"YYYY  MM", "2024 12", "2024-02"},
      {"YYYY MM", "2024   12", "2024-12"},
      {"YYYY ", "2024", "2024"},
      {"YYYY   ", "2024", "2024"},
      {"YYYY  MM", "2024", kFails},
      {"YYYY  x", "2024", kFails},
      {"FXYYYY MM", "2024x05", kFails},
      {"FXYYYY MM", "2024\t05", "2024-05"},
      {"FXYYYY ", "2024", kFails},
  });
}

TEST(TimeFromString, PunctuationMatchesPunctuationOutOfExactMode) {
  expectValues({
      {"YYYY-MM-DD", "2024/05~07", "2024-05-07"},
      {"FXYYYY-MM-DD", "2024/05/07", kFails},
      {"YYYY-MM", "2024x05", kFails},
      {"YYYYxMM", "2024-05", kFails},
      {"YYYYxMM", "2024X05", kFails},
      {"YYYY\"DD\"MM", "2024DD05", "2024-05"},
      {"YYYY\"DD\"MM", "2024\"DD\"05", kFails},
      {"YYYY\"DD", "2024DD", kFails},
  });
}

TEST(TimeFromString, SkipsWhiteSpaceOutOfExactMode) {
  expectValues({
      {"YYYY-MM", "\v 2024 \t-\n05 \r\f", "2024-05"},
      {"YYYY-MM", "2024-05x", kFails},
      {"FXYYYY-MM", " 2024-05", kFails},
      {"FXYYYY-MM", "2024-05 ", kFails},
      {"FXYYYY-MMFX", "2024-05 ", "2024-05"},
      {"YYYY", "  ", kFails},
  });
}

TEST(TimeFromString, ExactModeWantsAllDigitsUnlessInFillMode) {
  expectValues({
      {"FXYYYY-MM-DD", "2024-5-7", kFails},
      {"FXFMYYYY-MM-DD", "2024-5-7", "2024-05-07"},
      {"FXFF", "12345", kFails},
      {"FXFF", "123456", "1900-01-01 00:00:00.123456"},
      {"FXSSSSS", "1", kFails},
      {"FXYYY", "24", kFails},
      {"FXSE", "1234567890", kFails},
      {"FXSE", "00000000001234567890", "2009-02-13 23:31:30"},
      {"FXFMSE", "1234567890", "2009-02-13 23:31:30"},
      {"FXMIC", "123456", kFails},
      {"FXMS", "00000000000000000001", "1970-01-01 00:00:00.001"},
      {"FXHH24 TZH", "10 +2", kFails},
      {"FXHH24 TZH", "10 +02", "1900-01-01 12:"},
  });
}

TEST(TimeFromString, NoFieldIsGivenTwiceOrBesideACount) {
  const char* const kEnough = "10 11 12 10 11 12";
  for (const char* model : {"DD DD",  "YYYY YY", "MM MON",   "HH HH24",  "HH24 AM",  "AM PM",   "AM HH24",  "MI MI",
                            "SS SS",  "FF FF",   "SSSSS MI", "SS SSSSS", "SE SS",    "SE DD",   "MIC YYYY", "MIC FF",
                            "FF MIC", "MS HH",   "SE AM",    "SE TZH",   "DD SE",    "SS SE",   "SS MS",    "MS MS",
                            "SE SE",  "SE MS",   "MS SE",    "MIC SE",   "YYYY MIC", "TZH TZH", "TZM TZM"}) {
    for (const char* text : {kEnough, "10 11", "AM 10", "10 AM", "AM PM", "10 AUG"}) {
      EXPECT_EQ(readBy(model, text), kFails) << model << " of " << text;
    }
  }
}

TEST(TimeFromString, CountsTakeFractions) {
  expectValues({
      {"SE.FF", "10.25", "1970-01-01 00:00:10.250000"},
      {"FF SE", "25 10", "1970-01-01 00:00:10.250000"},
      {"MS FF", "1250 5", "1970-01-01 00:00:01.750000"},
      {"FF MS", "123456 1900", "1970-01-01 00:00:02.023000"},
      {"DAY SE", "MONDAY 86400", "1970-01-02 00:00:00"},
      {"AM SE", "PM 0", "1970-01-01 00:00:00"},
  });
}

TEST(TimeFromString, SomeTokensCannotBeRead) {
  for (const char* model : {"D", "DDD", "Q", "W", "WW", "FF1", "FF9", "DAYS", "HOURS", "MINUTES", "SECONDS"}) {
    for (const char* text : {"1", "001", "01", "10"}) EXPECT_EQ(readBy(model, text), kFails) << model;
  }
}

TEST(TimeFromString, AddsTheOffsetThatATextNames) {
  expectValues({
      {"HH24:MI TZH", "10:00 +02", "1900-01-01 12:00"},
      {"HH24:MI TZH", "10:00 2", "1900-01-01 12:00"},
      {"HH24:MI TZH:TZM", "10:00 -05:30", "1900-01-01 04:30"},
      {"HH24:MI TZH:TZM", "10:00 -00:30", "1900-01-01 10:30"},
      {"HH24:MI TZM TZH", "10:00 30 -05", "1900-01-01 05:30"},
      {"HH24 TZH", "10 +-02", kFails},
      {"HH24 TZH", "10 +", kFails},
      {"TZH SE", "+01 0", "1970-01-01 01:00:00"},
      {"TZH MIC", "+01 7", "1970-01-01 00:00:00.000007"},
  });
}

TEST(TimeFromString, ShiftsFromUtcIntoTheZoneThatATextNames) {
  expectValues({
      {"YYYY-MM-DD HH24 TZR", "2024-01-05 12 America/New_York", "2024-01-05 07:"},
      {"YYYY-MM-DD HH24 TZR", "2024-07-05 12 America/New_York", "2024-07-05 08:"},
      {"YYYY-MM-DD HH24:MI:SS.FF TZD", "2024-07-05 12:00:00.123456 EST", "2024-07-05 07:00:00.123456"},
      {"YYYY TZR", "1969 GMT+5", "1969-01-01 05:"},
      {"TZR YYYY", "UTC 2024", "2024-01-01 00:"},
      {"TZR, YYYY", "Etc/GMT-3, 2024", "2024-01-01 03:"},
      {"TZR", "Nowhere", kFails},
      {"TZR", "", kFails},
      {"TZR", ":", kFails},
      {"TZR TZD", "UTC UTC", kFails},
      {"TZR TZH", "UTC 1", kFails},
      {"TZR TZM", "UTC 1", kFails},
      {"TZH TZR", "1 UTC", kFails},
      {"TZM TZR", "1 UTC", kFails},
      {"SE TZR", "1 UTC", kFails},
      {"TZR SE", "Asia/Kolkata 0", "1970-01-01 05:30"},
  });
}

TEST(TimeFromString, FailsBeyond64BitsAndBeyondTheCalendar) {
  constexpr long kHighest = std::numeric_limits<long>::max();
  struct Row {
    bool (*read)(const char*, const char*, long&);
    const char* model;
    const char* text;
    long expected;  // 7: it fails
  };
  for (const Row& row : {
           Row{DataTypes::TimestampFromString, "MS", "9223372036854775807", kHighest},
           {DataTypes::TimestampFromString, "MS", "9223372036854775808", 7},
           {DataTypes::TimestampFromString, "MS", "99999999999999999999", 7},
           {DataTypes::TimestampFromString, "MS FF", "9223372036854775807 001", 7},
           {DataTypes::BigDateTimeFromString, "MS", "9223372036854775807", 7},
           {DataTypes::BigDateTimeFromString, "MS", "9223372036854775", 9223372036854775000},
           {DataTypes::BigDateTimeFromString, "MIC", "9223372036854775807", kHighest},
           {DataTypes::DateFromString, "MIC", "9223372036854775807", kHighest / 1000000},
           {DataTypes::DateFromString, "SE", "67768036191676799", 67768036191676799},
           {DataTypes::DateFromString, "SE", "67768036191676800", 7},
           {DataTypes::DateFromString, "TZH SE", "+99 67768036191676799", 67768036191676799 + 99 * 3600},
           {DataTypes::DateFromString, "SE", "9223372036854775807", 7},
           {DataTypes::TimestampFromString, "SE", "9223372036854775", 9223372036854775000},
           {DataTypes::TimestampFromString, "SE", "9223372036854776", 7},
           {DataTypes::DateFromString, "TZR SE", "GMT 9223372036854", 9223372036854},
           {DataTypes::DateFromString, "TZR SE", "GMT 9223372036855", 7},
           {DataTypes::DateFromString, "YYYY-MM-DD", "9999-12-31", 253402214400},
           {DataTypes::DateFromString, "YYYY-MM-DD", "0000-01-01", -62167219200},
       }) {
    long value = 7;
    EXPECT_EQ(row.read(row.text, row.model, value), row.expected != 7) << row.model << ' ' << row.text;
    EXPECT_EQ(value, row.expected) << row.model << ' ' << row.text;
  }
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

struct Direction {
  void (*print)(long, const char*, const char*, std::string&);
  bool (*read)(const char*, const char*, long&);
  long unitsPerSecond;
};

constexpr Direction kDirections[] = {
    {DataTypes::DateToString, DataTypes::DateFromString, 1},
    {DataTypes::DateToString, DataTypes::TimeFromString, 1},
    {DataTypes::TimestampToString, DataTypes::TimestampFromString, 1000},
    {DataTypes::BigDateTimeToString, DataTypes::BigDateTimeFromString, 1'000'000},
};

struct WholeModel {
  const char* printed;
  const char* read;
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

void expectReadAsPrinted(const Direction& way, long value) {
  for (const WholeModel& model : kWholeModels) {
    if (way.unitsPerSecond > model.mostUnitsPerSecond) continue;
    std::string text;
    way.print(value, model.printed, "UTC", text);
    long read = -1;
    EXPECT_TRUE(way.read(text.c_str(), model.read, read)) << model.read << " of " << text;
    EXPECT_EQ(read, value) << model.read << " of " << text;
  }
}

// Values since 1970 alone: before it the fraction is printed with a sign.
TEST(TimeFromString, ReadsWhatWasPrinted) {
  std::mt19937_64 random(7);
  constexpr unsigned long kSecondsToYear10000 = 253402300800;
  for (int i = 0; i < 2000 && !testing::Test::HasFailure(); ++i) {
    for (const Direction& way : kDirections) {
      const auto units = kSecondsToYear10000 * static_cast<unsigned long>(way.unitsPerSecond);
      expectReadAsPrinted(way, static_cast<long>(random() % units));
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
