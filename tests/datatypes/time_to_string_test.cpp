// Callers may name the parsers before they include anything.
namespace DataTypes {
class TimeFormatParser_TimeToString;
class DateFormatParser_DateToString;
class BigDateTimeFormatParser_TimeToString;
}  // namespace DataTypes

#include "kyv/time_to_string.h"

#include <gtest/gtest.h>
#include <unicode/uloc.h>

#include <limits>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "datatypes/civil_time.h"
#include "tests/support/printed_by_c.h"

namespace {

constexpr long kLowest = std::numeric_limits<long>::min();
constexpr long kHighest = std::numeric_limits<long>::max();

constexpr long kSpring = 1709622489120;  // 2024-03-05 07:08:09.12, a Tuesday
constexpr long kSummer = 1720000000000;  // 2024-07-03 09:46:40
constexpr long kNoon = 43'200'000;

enum class Type { kTimestamp, kDate, kBigDateTime };
using enum Type;

std::string textOf(Type type, long value, const char* model, const char* zone = nullptr) {
  constexpr decltype(&DataTypes::DateToString) kPrint[] = {DataTypes::TimestampToString, DataTypes::DateToString,
                                                           DataTypes::BigDateTimeToString};
  std::string out;
  kPrint[static_cast<int>(type)](value, model, zone, out);
  return out;
}

struct Case {
  Type type;
  long value;
  const char* model;
  const char* text;
  const char* zone = nullptr;
};

void expectTexts(const std::vector<Case>& cases) {
  for (const Case& row : cases) {
    EXPECT_EQ(textOf(row.type, row.value, row.model, row.zone), row.text)
        << static_cast<int>(row.type) << ' ' << row.value << ' ' << row.model << ' ' << (row.zone ? row.zone : "");
  }
}

TEST(TimeToString, PrintsValuesInTheirUnits) {
  expectTexts({
      {kTimestamp, 1, "YYYY-MM-DD HH24:MI:SS.FF3", "1970-01-01 00:00:00.001"},
      {kTimestamp, kSpring, "YYYY-MM-DD HH24:MI:SS.FF", "2024-03-05 07:08:09.120000"},
      {kDate, 1709622489, "YYYY-MM-DD HH24:MI:SS.FF", "2024-03-05 07:08:09.000000"},
      {kBigDateTime, 1709622489123456, "YYYY-MM-DD HH24:MI:SS.FF", "2024-03-05 07:08:09.123456"},
      {kTimestamp, 12, "MIC MS SE", "0000000000012000 12 0"},
      {kDate, -12, "MIC MS SE FMMIC", "-000000012000000 -12000 -12 -12000000"},
      {kBigDateTime, 1234567, "MIC MS SE", "0000000001234567 1234 1"},
      {kTimestamp, 0, "", ""},
  });
}

TEST(TimeToString, PadsNumbersAndMonthsUnlessInFillMode) {
  expectTexts({
      {kTimestamp, 0, "Month|MONTH|month|FMMonth", "  January|  JANUARY|  january|January"},
      {kTimestamp, kSpring, "DAY|Day|day|DY|Dy|dy|MON|Mon|mon", "TUESDAY|Tuesday|tuesday|TUE|Tue|tue|MAR|Mar|mar"},
      {kTimestamp, kSpring, "RM|Rm|rm|AM|Pm|am", "III|Iii|iii|AM|Am|am"},
      {kTimestamp, kSpring, "YYYY YYY YY Y Q MM WW W DDD DD D", "2024 024 24 4 1 03 10 1 065 05 3"},
      {kTimestamp, kSpring, "FMYYYY YYY YY Y Q MM WW W DDD DD D", "2024 24 24 4 1 3 10 1 65 5 3"},
      {kTimestamp, kSpring, "HH HH12 HH24 MI SS SSSSS FM HH HH12 HH24 MI SS SSSSS",
       "07 07 07 08 09 25689  7 7 7 8 9 25689"},
      {kTimestamp, kSpring, "FMMM FMMM FMMM", "3 03 3"},
      {kTimestamp, 0, "HH HH12 HH24 AM", "12 12 00 AM"},
      {kTimestamp, kNoon, "HH HH12 HH24 AM Am pm", "12 12 12 PM Pm pm"},
      {kTimestamp, 0, "SSSS YYYYY dd Dy", "0000 19700 01 Thu"},
      {kTimestamp, 0, "TZX \"TZX\" \"FM\"MM FXMM", "TX TZX FM01 01"},
  });
}

TEST(TimeToString, RoundsFractionsHalfUpWithoutCarry) {
  expectTexts({
      {kBigDateTime, 999600, "SS.FF3 FF1", "00.1000 10"},
      {kBigDateTime, 123456, "FF1 FF2 FF3 FF4 FF5 FF6 FF7 FF8 FF9",
       "1 12 123 1235 12346 123456 1234560 12345600 123456000"},
      {kBigDateTime, 450000, "FF1", "5"},
      {kBigDateTime, 449999, "FF1", "4"},
      {kDate, 7, "FF FF1 FF9", "000000 0 000000000"},
  });
}

TEST(TimeToString, TrimsFractionsAtBothEndsInFillMode) {
  expectTexts({
      {kBigDateTime, 120000, "FMFF FF3 FF9", "12 12 12"},
      {kBigDateTime, 0, "FMFF FF3", "0 0"},
      {kBigDateTime, 1000, "FMFF FF3 FF2", "1 1 0"},
      {kBigDateTime, -1000, "FMFF", "-1"},
      {kBigDateTime, 123456, "FMFF FF4", "123456 1235"},
  });
}

TEST(TimeToString, PrintsThreeDigitsOfTheFractionWhereTheParserIsToldSo) {
  long value = 1'234'056;
  std::string out;
  DataTypes::BigDateTimeFormatParser_TimeToString parser(value, "UTC", out);
  parser.fields.threeDigitFraction = true;
  EXPECT_TRUE(parser.Parse("FF FF3 FMFF", 11));
  EXPECT_EQ(out, "056 234 56");
}

// Prints blanks as "_".
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // of the base
struct JoiningParser final : DataTypes::TimeFormatParser_TimeToString {
  using TimeFormatParser_TimeToString::TimeFormatParser_TimeToString;
  void OnChar(char c) override { TimeFormatParser_TimeToString::OnChar(c == ' ' ? '_' : c); }
};
#pragma GCC diagnostic pop

TEST(TimeToString, LetsADerivedParserChangeAnOperation) {
  long value = kSpring;
  std::string out;
  EXPECT_TRUE(JoiningParser(value, "UTC", out).Parse("DD Mon", 6));
  EXPECT_EQ(out, "05_Mar");
}

TEST(TimeToString, KeepsTheSignOfAFractionBefore1970) {
  expectTexts({
      {kTimestamp, -1, "YYYY-MM-DD HH24:MI:SS FF", "1970-01-01 00:00:00 -01000"},
      {kTimestamp, -1001, "SS FF FF3 FF2 FF9", "59 -01000 -01 00 -01000000"},
      {kBigDateTime, -999999, "SS FF FF1", "00 -999999 -10"},
      {kBigDateTime, -500, "FF3", "000"},
      {kBigDateTime, -501, "FF3", "-01"},
  });
}

TEST(TimeToString, IsEmptyWhenAnythingCannotBePrinted) {
  for (const char* model : {"YYYY RR", "RRRR", "DAYS", "HOURS", "MINUTES", "SECONDS", "rr", "DD \"open", "\""}) {
    EXPECT_EQ(textOf(kTimestamp, 0, model), "") << model;
  }
  const std::string longName(100'000, 'x');
  for (const char* zone : {"Nowhere/Here", "utc0", "Etc/Unknown", "GMT+5", "america/new_york", " UTC", "\xFF\xFE",
                           "Europe/Berlin ", longName.c_str()}) {
    EXPECT_EQ(textOf(kTimestamp, 0, "YYYY", zone), "") << zone;
  }
  std::string out = "before";
  DataTypes::DateToString(0, "YYYY", "Nowhere", out);
  EXPECT_EQ(out, "");
}

TEST(TimeToString, AppendsAndReservesRoomForTheModel) {
  std::string out = "at ";
  DataTypes::DateToString(0, "YYYY", "", out);
  EXPECT_EQ(out, "at 1970");
  const std::string model(100, 'x');
  std::string reserved;
  DataTypes::DateToString(0, model.c_str(), "UTC", reserved);
  EXPECT_EQ(reserved, model);
  EXPECT_GE(reserved.capacity(), model.size() + 1);
}

class TimeToStringInZones : public testing::Test {
 protected:
  void SetUp() override {
    UErrorCode error = U_ZERO_ERROR;
    before_ = uloc_getDefault();
    uloc_setDefault("en_US", &error);
  }
  void TearDown() override {
    UErrorCode error = U_ZERO_ERROR;
    uloc_setDefault(before_.c_str(), &error);
  }

 private:
  std::string before_;
};

TEST_F(TimeToStringInZones, PrintsWhatTheClocksShowThere) {
  expectTexts({
      {kTimestamp, kSpring, "DD HH24:MI TZH:TZM TZD|TZR", "05 02:08 -05:00 EST|Eastern Standard Time",
       "America/New_York"},
      {kTimestamp, kSummer, "DD HH24:MI TZH:TZM TZD|TZR", "03 05:46 -04:00 EDT|Eastern Daylight Time",
       "America/New_York"},
      {kDate, kSummer / 1000, "HH24:MI TZH:TZM", "15:16 05:30", "Asia/Kolkata"},
      {kBigDateTime, kSummer * 1000, "HH24:MI FMTZH:TZM", "09:46 00:00"},
      {kTimestamp, 0, "DD HH24 TZD|TZR", "01 00 UTC|Coordinated Universal Time", "UTC"},
      {kTimestamp, kSpring, "MS SE MIC", "1709604489120 1709604489 1709622489120000", "America/New_York"},
      {kTimestamp, 0, "HH24:MI TZH TZM", "05:00 05 00", "GMT+05:00"},
      {kTimestamp, 0, "TZH TZM", "00 30", "GMT-00:30"},
  });
}

TEST_F(TimeToStringInZones, LeavesDaylightSavingOutOfTheMinutesAlone) {
  // Lord Howe Island is 10:30 ahead, and 11:00 in its summer.
  expectTexts({{kTimestamp, 0, "TZH:TZM", "10:30", "GMT+10:30"},
               {kTimestamp, 1704067200000, "HH24:MI TZH:TZM", "11:00 11:30", "Australia/Lord_Howe"}});
}

TEST_F(TimeToStringInZones, NamesOfAnyLengthAreWhole) {
  UErrorCode error = U_ZERO_ERROR;
  uloc_setDefault("my", &error);
  EXPECT_GT(textOf(kTimestamp, 0, "TZR", "America/New_York").size(), 64);
}

TEST(TimeToString, ReachesTheEndsOf64BitsAndOfTheCalendar) {
  constexpr long kFirstDate = kyv_internal::kFirstCalendarSecond;
  constexpr long kLastDate = kyv_internal::kEndCalendarSecond - 1;
  constexpr const char* kModel = "YYYY YYY YY Y DDD HH24:MI:SS.FF3 SE";
  expectTexts({
      {kTimestamp, kHighest, "YYYY YYY YY Y MM-DD HH24:MI:SS.FF3", "-11566 994 94 4 08-17 07:12:55.807"},
      {kTimestamp, kLowest, "YYYY YYY YY Y MM-DD HH24:MI:SS.FF3", "15505 -55 -55 -5 05-16 16:47:05.-808"},
      {kTimestamp, kHighest, "MS SE", "9223372036854775807 9223372036854775"},
      {kTimestamp, kHighest, "MIC", ""},
      {kTimestamp, kHighest, "MS", "", "Asia/Kolkata"},
      {kTimestamp, kLowest, "MS", "", "America/New_York"},
      {kDate, kHighest, "YYYY", ""},
      {kDate, kLowest, "YYYY", ""},
      {kDate, kLastDate, kModel, "1899 547 47 7 365 23:59:59.000 67768036191676799"},
      {kDate, kFirstDate, kModel, "1900 -748 -48 -8 001 00:00:00.000 -67768040609740800"},
      {kDate, kLastDate, "MS", ""},
      {kDate, kLastDate, "YYYY", "", "Asia/Kolkata"},
      {kDate, kLastDate, "HH24", "18", "GMT-05:00"},
      {kBigDateTime, kHighest, "YYYY-MM-DD HH24:MI:SS.FF MIC", "32103-01-10 04:00:54.775807 9223372036854775807"},
      {kBigDateTime, kLowest, "MIC MS SE", "-9223372036854775808 -9223372036854775 -9223372036854"},
  });
}

// Every token that the C library can print too.
constexpr const char* kAllFields =
    "YYYY YYY YY Y Q MM WW W DDD DD D HH HH12 HH24 MI SS SSSSS MIC MS SE FF FF1 FF2 FF3 FF4 FF5 FF6 FF7 FF8 FF9 "
    "MONTH Month month MON Mon mon DAY Day day DY Dy dy AM pm Pm";

// Where microseconds do not fit in 64 bits, the model's MIC leaves the text empty.
void expectAsInC(Type type, long value, long microsPerUnit, const char* zone) {
  const std::optional<kyv_test::CTime> time = kyv_test::timeByC(value, microsPerUnit, zone);
  for (const std::string& model : {std::string(kAllFields), "FM" + std::string(kAllFields)}) {
    const std::string expected = time ? kyv_test::printedByC(model, *time).value() : "";
    ASSERT_EQ(textOf(type, value, model.c_str(), zone), expected) << value << ' ' << zone;
  }
}

TEST(TimeToString, PrintsEveryNumberAndNameAsTheCLibraryDoes) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 100; ++i) {
    const long value = static_cast<long>(random()) >> (random() % 64);
    for (const char* zone : {"UTC", "America/New_York", "Asia/Kolkata"}) {
      ASSERT_NO_FATAL_FAILURE(expectAsInC(kTimestamp, value, 1000, zone));
      ASSERT_NO_FATAL_FAILURE(expectAsInC(kDate, value, 1'000'000, zone));
      ASSERT_NO_FATAL_FAILURE(expectAsInC(kBigDateTime, value, 1, zone));
    }
  }
}

}  // namespace
