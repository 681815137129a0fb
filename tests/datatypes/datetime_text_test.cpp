#include "datatypes/datetime_text.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <limits>
#include <string>

#include "kyv/data_value.h"
#include "services/malloc_ptr.h"
#include "tests/support/readings.h"

namespace kyv_internal {
namespace {

constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();
constexpr const char* kUsual = "%Y-%m-%d %H:%M:%S";

using Parse = Parsed<std::int64_t> (*)(std::string_view, const PercentFormat&);

struct ParseCase {
  Parse parse;
  const char* format;
  const char* readings;  // a text without value is refused
  const char* message = nullptr;
};

TEST(DatetimeText, ReadsValuesOrSaysWhyNot) {
  constexpr const char* kNoTimestamp = "timestamp constant does not match format";
  const ParseCase cases[] = {
      {parseDate, kUsual, "2009-02-13 23:31:30=1234567890|2009-02-13 23:31:30 \t=1234567890|2009-02-13 23:31:30.5|",
       "date constant does not match format"},
      {parseDate, "%Y-%m-%d", "1969-12-31=-86400"},
      {parseDate, "%s",
       "-5=-5| \t+12abc=12|9223372036854775807=9223372036854775807|9223372036854775808||+-1|+|"
       "-9223372036854775808=-9223372036854775808",
       "date constant does not match standard format"},
      {parseDate, "%s ", "5=5|-5", "date constant does not match format"},
      {parseTime, "%H:%M:%S", "23:59:59=86399|23:59:60=86400|24:00:00", "time constant does not match format"},
      {parseTime, "%s", "x|-9223372036854775809", "time constant does not match standard format"},
      {parseTimestamp, kUsual,
       "2009-02-13 23:31:30=1234567890000|2009-02-13 23:31:30.1239=1234567890123|"
       "2009-02-13 23:31:30. 1 2\t3=1234567890123|2009-02-13 23:31:30.=1234567890000|"
       "2009-02-13 23:31:30 .5=1234567890500|1969-12-31 23:59:59.999=-1|2009-02-13 23:31:30.1x5=1234567890001|"
       "2009-02-13 23:31:30.x55=1234567890000|2009-02-13 23:31:30.-5=1234567889950|"
       "2009-02-13 23:31:30.+5=1234567890050|2009-02-13 23:31:30.--5=1234567890000|2009-02-13 23:31:30.5.5",
       kNoTimestamp},
      {parseTimestamp, "%d.%m.%Y", "13.02.2009.25=1234483200250|13.02.2009", kNoTimestamp},
      {parseTimestamp, "%s",
       "1234567890.123=1234567890123|-1.5=-500|7x.5=7500|9223372036854775.807=9223372036854775807|"
       "-9223372036854775=-9223372036854775000|-9223372036854775.-99=-9223372036854775099|9223372036854775.808|"
       "9223372036854776|-9223372036854776.192|9223372036854775808",
       "timestamp overflow"},
      {parseTimestamp, "%s", ".5", kNoTimestamp},
      {parseTimestamp, "at %s", "at 9223372036854776", "timestamp overflow"},
      {parseTimestamp, "at %s", "at 9223372036854775808", kNoTimestamp},
      {parseBigDateTime, kUsual,
       "2009-02-13 23:31:30.5=1234567890500000|2009-02-13 23:31:30.1234567=1234567890123456|"
       "2009-02-13",
       "bigdatetime constant does not match format"},
      {parseBigDateTime, "%s",
       "1234567890.123456=1234567890123456|9223372036854.775807=9223372036854775807|"
       "9223372036854.775808|9223372036855|99999999999999999999",
       "bigdatetime overflow"},
      {parseBigDateTime, "%s", "x", "bigdatetime constant does not match format"},
  };
  for (const ParseCase& row : cases) {
    for (const auto& [text, value] : kyv_test::readings(row.readings)) {
      const Parsed<std::int64_t> parsed = row.parse(text, PercentFormat(row.format));
      EXPECT_STREQ(parsed.error, value.empty() ? row.message : nullptr) << '"' << text << "\" as " << row.format;
      EXPECT_EQ(parsed.error != nullptr ? "" : std::to_string(parsed.value), value) << text << " as " << row.format;
    }
  }
}

// A blank behind the text changes nothing but the way that is taken.
TEST(DatetimeText, ReadsUsualFractionsLikeAllOthers) {
  const PercentFormat format(kUsual);
  const auto expectSame = [&](Parse parse, std::string text) {
    const Parsed<std::int64_t> quick = parse(text, format);
    const Parsed<std::int64_t> careful = parse(text + '\t', format);
    EXPECT_STREQ(quick.error, careful.error) << text;
    if (!quick.error && !careful.error) {
      EXPECT_EQ(quick.value, careful.value) << text;
    }
  };
  constexpr std::size_t kPoint = 19;
  for (std::string text = "2009-02-13 23:31:30.123456"; text.size() > kPoint; text.pop_back()) {
    for (std::size_t at = kPoint; at < text.size(); ++at) {
      for (int c = 0; c < 256; ++c) {
        std::string changed = text;
        changed[at] = static_cast<char>(c);
        expectSame(parseTimestamp, changed);
        expectSame(parseBigDateTime, changed);
      }
    }
  }
}

std::string printed(std::size_t (*print)(std::int64_t, const PercentFormat&, ZeroFraction, char*), std::int64_t value,
                    const std::string& format, ZeroFraction zero) {
  std::array<char, kMaxFormattedText> out;
  return {out.data(), print(value, PercentFormat(format), zero, out.data())};
}

TEST(DatetimeText, PrintsFractionsAfterTheFormat) {
  struct Case {
    std::int64_t count;
    const char *format, *millis, *micros;
  };
  const Case cases[] = {
      {1234567890123, kUsual, "2009-02-13 23:31:30.123", "1970-01-15 06:56:07.890123"},
      {1234567890123, "%s", "1234567890.123", "1234567.890123"},
      {-1, kUsual, "1969-12-31 23:59:59.999", "1969-12-31 23:59:59.999999"},
      {-1, "%s", "-1.999", "-1.999999"},
      {1'000'000, "%T", "00:16:40.000", "00:00:01.000000"},
      {kLowest, "%Y %s", "-292275055 -9223372036854776.192", "-290308 -9223372036855.224192"},
      {5, "", "", ""},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(printed(printTimestamp, row.count, row.format, ZeroFraction::Printed), row.millis) << row.count;
    EXPECT_EQ(printed(printBigDateTime, row.count, row.format, ZeroFraction::Printed), row.micros) << row.count;
  }
  EXPECT_EQ(printed(printTimestamp, 1000, "%T", ZeroFraction::Omitted), "00:00:01");
  EXPECT_EQ(printed(printBigDateTime, 1'000'001, "%T", ZeroFraction::Omitted), "00:00:01.000001");
}

TEST(DatetimeText, LeavesOutAFractionThatDoesNotFit) {
  const auto size = [](auto print, std::size_t literal) {
    return printed(print, 0, std::string(literal, 'x'), ZeroFraction::Printed).size();
  };
  EXPECT_EQ(size(printTimestamp, kMaxFormattedText - 4), kMaxFormattedText);
  EXPECT_EQ(size(printTimestamp, kMaxFormattedText - 3), kMaxFormattedText - 3);
  EXPECT_EQ(size(printBigDateTime, kMaxFormattedText - 7), kMaxFormattedText);
  EXPECT_EQ(size(printBigDateTime, kMaxFormattedText - 6), kMaxFormattedText - 6);
  EXPECT_EQ(size(printTimestamp, kMaxFormattedText + 1), 0U);
}

TEST(DatetimeText, PrintsDefaultTexts) {
  struct Case {
    char* (*print)(std::int64_t, ZoneSuffix, char*);
    std::int64_t value;
    const char* expected;
  };
  const Case cases[] = {
      {printDefaultDate, 1234567890, "2009-02-13 23:31:30"},
      {printDefaultDate, -62198755200, "-001-01-01 00:00:00"},
      {printDefaultDate, -62135596800, "0001-01-01 00:00:00"},
      {printDefaultDate, 253402300800, "10000-01-01 00:00:00"},
      {printDefaultDate, 67768036191676799, "2147485547-12-31 23:59:59"},
      {printDefaultDate, -67768040609740800, "-2147481748-01-01 00:00:00"},
      {printDefaultDate, kHighest, "1970-01-01 00:00:00"},
      {printDefaultTime, 86399, "23:59:59"},
      {printDefaultTime, -1, "23:59:59"},
      {printDefaultTimestamp, -1, "1969-12-31 23:59:59.999"},
      {printDefaultTimestamp, kLowest, "-292275055-05-16 16:47:04.192"},
      {printDefaultBigDateTime, -1, "1969-12-31 23:59:59.999999"},
  };
  for (const Case& row : cases) {
    std::array<char, kMaxDefaultTimeText> out;
    EXPECT_EQ(std::string(out.data(), row.print(row.value, ZoneSuffix::No, out.data())), row.expected);
    EXPECT_EQ(std::string(out.data(), row.print(row.value, ZoneSuffix::Yes, out.data())),
              std::string(row.expected) + "+00");
  }
}

TEST(DatetimeText, SplitsAtTheLastPointIntoBuffersOfTheCaller) {
  struct Case {
    const char *text, *datetime, *millis, *micros;
  };
  for (const Case& row : {Case{"a b", "a b", "000", "000000"}, Case{"a.b.12 34 5", "a.b", "123", "123450"},
                          Case{".", "", "000", "000000"}, Case{"", "", "000", "000000"}}) {
    for (const auto& [split, fraction] :
         {std::pair{&DataTypes::splitTimestamp, row.millis}, std::pair{&DataTypes::splitBigdatetime, row.micros}}) {
      char* datetimePart = nullptr;
      char* fractionPart = nullptr;
      ASSERT_TRUE(split(row.text, datetimePart, fractionPart));
      const MallocPtr<char> ownsDatetime(datetimePart), ownsFraction(fractionPart);
      EXPECT_STREQ(datetimePart, row.datetime);
      EXPECT_STREQ(fractionPart, fraction);
    }
  }
}

}  // namespace
}  // namespace kyv_internal
