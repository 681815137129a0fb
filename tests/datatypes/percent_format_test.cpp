#include "datatypes/percent_format.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "datatypes/civil_time.h"
#include "datatypes/parsed.h"
#include "kyv/data_value.h"
#include "tests/support/time_by_c.h"

namespace kyv_internal {
namespace {

using kyv_test::fieldsByC;
using kyv_test::textByC;

// The C library is the judge, with its "C" locale and its zone set to UTC.
class PercentFormatTest : public testing::Test {
 protected:
  void SetUp() override { setZone("UTC"); }
  void TearDown() override { setZone(""); }

  static void setZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
};

std::string print(const PercentFormat& format, std::int64_t seconds) {
  std::array<char, kMaxFormattedText + 1> buffer;
  buffer.back() = '#';
  std::string text(buffer.data(), format.print(seconds, buffer.data()));
  EXPECT_EQ(buffer.back(), '#');
  return text;
}

std::optional<std::int64_t> secondsOfText(const PercentFormat& format, std::string_view text) {
  std::int64_t seconds = 0;
  if (!format.parse(text, seconds)) return std::nullopt;
  return seconds;
}

std::string show(const std::optional<std::tm>& time) {
  if (!time) return "no match";
  std::array<char, 200> text;
  std::snprintf(text.data(), text.size(), "%d-%d-%d %d:%d:%d day %d of year, weekday %d", time->tm_year + 1900,
                time->tm_mon + 1, time->tm_mday, time->tm_hour, time->tm_min, time->tm_sec, time->tm_yday,
                time->tm_wday);
  return text.data();
}

// Where the library leaves its tables or its int: it looks up the month of a day outside its year behind the end of a
// table, and has no weekday for the first months of year 0 and the farthest years.
bool libraryIsLost(const std::optional<std::tm>& time) {
  if (!time) return false;
  std::tm lastDay{};
  lastDay.tm_year = time->tm_year;
  lastDay.tm_mon = 11;
  lastDay.tm_mday = 31;
  timegm(&lastDay);
  return time->tm_yday < 0 || time->tm_yday > lastDay.tm_yday || time->tm_year == -1900 || time->tm_year > 1'000'000;
}

void expectReadsLikeTheLibrary(const std::string& text, const std::string& format) {
  const PercentFormat compiled(format);
  const std::optional<std::tm> fields = compiled.parseFields(text);
  if (libraryIsLost(fields)) return;
  std::optional<std::tm> expected = fieldsByC(text, format);
  ASSERT_EQ(show(fields), show(expected)) << '"' << text << "\" as \"" << format << '"';
  const std::optional<std::int64_t> seconds = secondsOfText(compiled, text);
  ASSERT_EQ(seconds.has_value(), expected.has_value());
  if (expected) {
    ASSERT_EQ(*seconds, timegm(&*expected)) << '"' << text << "\" as \"" << format << '"';
  }
}

TEST_F(PercentFormatTest, ReadsWhatTheLibraryReads) {
  constexpr const char* kUsual = "%Y-%m-%d %H:%M:%S";
  struct Case {
    const char* format;
    std::vector<const char*> texts;
  };
  const Case cases[] = {
      {kUsual, {"2009-02-13  23:31:30", "2009-2-3 1:2:3", "2009-02-13\t23:31:30 \n", "2009-02-13T23:31:30"}},
      {kUsual, {" 2009-02-13 23:31:30", "2009-02-30 00:00:00", "2009-02-13 23:31:61", "2009-02-13 23:31:62"}},
      {kUsual, {"2009-02-13 24:00:00", "2009-00-13 00:00:00", "2009-13-13 00:00:00", "2009-12-32 00:00:00", ""}},
      {kUsual, {"2009-12-00 00:00:00", "2009-02-13 23:60:30", "2009-02-13 23:31:30x", "2009-02-13 23:31:"}},
      {kUsual, {"0000-12-31 00:00:00", "-009-02-13 23:31:30", "2009-02-13 23:31:\xb3\xb0", "2009-02-13 23 :31:30"}},
      {"%Y%m%d", {"20240229", "20230229", "2024229", "202422", "2024 2 9", "99990101"}},
      {"%H:%M", {"23:59", "3:5", "24:00", "945", "9:4", "0:0"}},
      {"%H%M", {"945", "0945", "2359", "9 5"}},
      {"%m/%d/%Y", {"02/29/2024", "2/9/2024", "02/31/2024"}},
      {"%D %T", {"02/29/68 01:02:03", "02/29/69 01:02:03"}},
      {"%F %R", {"2024-02-29 12:30"}},
      {"%c", {"Thu Feb 29 12:30:00 2024", "sun feb  9 2:3:0 2024"}},
      {"%x %X", {"02/29/24 12:30:00"}},
      {"%r", {"12:00:00 AM", "12:00:00 pm", "11:59:59 PM", "13:00:00 PM", "0:00:00 PM"}},
      {"%I %p", {"12 AM", "12 PM", "1 Pm", "1 XM", "1", "0 AM"}},
      {"%p %I", {"PM 1"}},
      {"%H %p", {"13 PM", "1 PM"}},
      {"%I %H %p", {"11 1 PM"}},
      {"%l %p %k", {" 1 PM 13"}},
      {"%d %b %Y", {"29 Feb 2024", "29 february 2024", "29 FEBR 2024", "29 Febr 2024", "1 May 2024", "1 Sept 2024"}},
      {"%A %B", {"Monday January", "Mon Jan", "Mo January", "SUN DEC", "Sunda December"}},
      {"%a %d %m %Y", {"Mon 29 02 2024"}},
      {"%Y %j", {"2024 1", "2024 60", "2024 366", "2023 60", "2023 365", "2023 0", "2023 367", "2023 1000"}},
      {"%Y %j %m", {"2024 60 7"}},
      {"%Y %j %d", {"2024 60 7"}},
      {"%Y %j %a", {"2024 60 Mon"}},
      {"%j", {"60"}},
      {"%Y %U %w", {"2024 1 0", "2024 10 6", "2023 53 0", "2024 54 0", "2024 0 6", "2022 1 7"}},
      {"%Y %W %u", {"2024 1 7", "2024 10 1", "2024 10 8", "2024 10 0"}},
      {"%U %a", {"10 Mon"}},
      {"%Y %W %a %d", {"2024 10 Mon 17"}},
      {"%Y %U %w %m", {"2024 10 3 7"}},
      {"%Y %U %W %w", {"2024 10 20 3"}},
      {"%Y %V %G %g %w", {"2024 10 2024 24 3", "2024 54 1 1 1", "2024 1 x 1 1"}},
      {"%C %y", {"20 24", "19 68", "0 0", "99 99"}},
      {"%C", {"20", "0"}},
      {"%y", {"68", "69", "0", "100"}},
      {"%y %Y", {"68 1999"}},
      {"%C %Y", {"20 1999"}},
      {"%s %m", {"86400 3", "0 12", " 1 1", "-1 1", "67768036191676799 12", "67768036191676800 12"}},
      {"%j %s", {"60 0"}},
      {"%H%z", {"12+01:30", "12+0130", "12-01", "12Z", "12 Z", "12+1", "12+013", "12+0160", "12", "12+01:3", "12+01:"}},
      {"%Z %H", {"CET 12", " CET  12", "12"}},
      {"%H%n%M%t%S", {"1 2 3", "1\n2\t\v3", "123"}},
      {"%%%d%%", {"%5%", "5", "%5"}},
      {"%-d/%_m/%0Y", {"5/6/2024", "05/06/2024"}},
      {"%^b %#d", {"feb 5"}},
      {"%Ex %EX %Ec", {"02/29/24 12:30:00 Thu Feb 29 12:30:00 2024"}},
      {"%EY %EC", {"2024 20"}},
      {"%5d %05_m", {"1 2"}},
      {"%0_5d", {"1"}},
      {"", {"", " ", "x"}},
      {" ", {"", "  ", "x"}},
      {"x y", {"x y", "xy", "x\n y", "X Y"}},
  };
  for (const Case& row : cases)
    for (const char* text : row.texts) expectReadsLikeTheLibrary(text, row.format);
}

// Every letter, and every letter with a modifier, a flag or a width.
TEST_F(PercentFormatTest, KnowsTheConversionsOfTheLibrary) {
  constexpr const char* kTexts[] = {"1",     "12",    "2024",     "Mon",        "AM", "+01",
                                    "10:20", "1:2:3", "01/02/03", "2024-01-02", "%"};
  constexpr std::int64_t kTimes[] = {0, 1709209800, 1704067199, -1, -62135596801, -99999999999, 253402300800};
  for (const char* prefix :
       {"%", "%E", "%O", "%-", "%_", "%0", "%^", "%#", "%+", "%5", "%-5", "%_5", "%012", "%E5", "%5E", "%5-"})
    for (char letter = ' '; letter < 127; ++letter) {
      const std::string format = std::string(prefix) + letter;
      // The library reads nothing by "%Ey"; here it is "%y", as for every other modifier.
      if (format != "%Ey" && format != "%5Ey")
        for (const char* text : kTexts) expectReadsLikeTheLibrary(text, format);
      for (const std::int64_t time : kTimes)
        EXPECT_EQ(print(PercentFormat(format), time), textByC(time, format)) << '"' << format << "\" " << time;
    }
  for (const char* format : {"%", "%-", "%5", "%E", "%Q %d", "x%"}) {
    EXPECT_EQ(print(PercentFormat(format), 0), textByC(0, format)) << format;
    expectReadsLikeTheLibrary("x", format);
  }
}

class RandomFormats {
 public:
  explicit RandomFormats(unsigned int seed) : random_(seed) {}

  std::string format() {
    constexpr const char* kParts[] = {"%Y", "%m", "%d", "%H", "%M", "%S", "%y", "%C", "%b", "%B",  "%a", "%A", "%j",
                                      "%U", "%W", "%w", "%u", "%p", "%I", "%l", "%k", "%e", "%F",  "%T", "%D", "%R",
                                      "%c", "%r", "%s", "%z", "%Z", "%n", "%%", "%G", "%V", "%-d", "%h"};
    constexpr const char* kBetween[] = {"", " ", "-", ":", "/", "T", "  ", ", ", ".", "x"};
    std::string format;
    for (std::size_t parts = 1 + pick(7); parts > 0; --parts) {
      format += kParts[pick(std::size(kParts))];
      format += kBetween[pick(std::size(kBetween))];
    }
    return format;
  }

  std::int64_t seconds() { return static_cast<std::int64_t>(random_() % 250'000'000'000) - 40'000'000'000; }

  std::string mangled(std::string text) {
    constexpr std::string_view kCharacters = "0123456789 :-/+%TZaPMx\t\n\x80";
    for (std::size_t changes = pick(4); changes > 0; --changes) {
      const std::size_t at = pick(text.size() + 1);
      const std::size_t removed = pick(2);
      text.replace(at, std::min(removed, text.size() - at), pick(3), kCharacters[pick(kCharacters.size())]);
    }
    return text;
  }

 private:
  std::size_t pick(std::size_t count) { return random_() % count; }

  std::mt19937_64 random_;
};

TEST_F(PercentFormatTest, ReadsAndPrintsRandomFormatsLikeTheLibrary) {
  RandomFormats random(1);
  for (int i = 0; i < 50'000 && !HasFatalFailure(); ++i) {
    const std::string format = random.format();
    const std::int64_t seconds = random.seconds();
    const std::string text = textByC(seconds, format);
    ASSERT_EQ(print(PercentFormat(format), seconds), text) << '"' << format << "\" " << seconds;
    for (int texts = 0; texts < 4; ++texts) expectReadsLikeTheLibrary(random.mangled(text), format);
  }
}

// Usual formats take a shorter way, for which every digit and separator matters.
TEST_F(PercentFormatTest, ReadsMangledUsualTextsLikeTheLibrary) {
  RandomFormats random(2);
  for (const char* format :
       {"%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M:%S", "%Y-%m-%d", "%H:%M:%S", "%m/%d/%Y", "%d.%m.%Y %H:%M", "%Y%m%d%H%M%S",
        "%m/%d/%y", "%H:%M", "%Y", "%S", "year %Y, month %m, day %d %H%M", "year %Y, month %m, day %d, hour %H"})
    for (int i = 0; i < 5'000 && !HasFatalFailure(); ++i) {
      const std::int64_t seconds = random.seconds();
      const std::string text = textByC(seconds, format);
      ASSERT_EQ(print(PercentFormat(format), seconds), text) << '"' << format << "\" " << seconds;
      expectReadsLikeTheLibrary(random.mangled(text), format);
    }
}

TEST_F(PercentFormatTest, CountsDaysOutsideTheirYearOn) {
  struct Case {
    const char *format, *text, *expected;
  };
  for (const Case& row : {Case{"%Y %j", "2023 366", "2024-01-01"}, Case{"%Y %U %w", "2024 53 6", "2025-01-11"},
                          Case{"%Y %U %w", "2024 0 0", "2023-12-31"}, Case{"%Y %W %a", "2023 0 Mon", "2022-12-26"}}) {
    const std::optional<std::int64_t> seconds = secondsOfText(PercentFormat(row.format), row.text);
    ASSERT_TRUE(seconds) << row.text;
    EXPECT_EQ(print(PercentFormat("%F"), *seconds), row.expected) << row.text;
  }
}

TEST_F(PercentFormatTest, CountsSecondsInUtcWhateverTheZone) {
  setZone("WEST5");
  EXPECT_EQ(secondsOfText(PercentFormat("at %s"), "at 1234567890"), 1234567890);
  EXPECT_EQ(secondsOfText(PercentFormat("%s"), "1234567890"), 1234567890);
  EXPECT_EQ(print(PercentFormat("%s|%12s|%-s|%012s|%Es|%Z"), 1234567890),
            "1234567890|  1234567890|1234567890|001234567890|1234567890|GMT");
  EXPECT_EQ(secondsOfText(PercentFormat("at %s"), "at 99999999999999999999"), std::nullopt);
}

TEST_F(PercentFormatTest, PrintsTheEpochForYearsBeyondTheCalendar) {
  constexpr std::int64_t kFar = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(print(PercentFormat("%Y-%m-%d %H:%M:%S %s"), kFar), "1970-01-01 00:00:00 0");
  EXPECT_EQ(print(PercentFormat("%s"), -kFar - 1), "-9223372036854775808");
  EXPECT_EQ(print(PercentFormat("%Y"), kEndCalendarSecond - 1), "2147485547");
}

TEST_F(PercentFormatTest, PrintsNothingBeyondTheLongestText) {
  const std::string fits(kMaxFormattedText - 4, 'x');
  EXPECT_EQ(print(PercentFormat(fits + "%Y"), 0), fits + "1970");
  for (const char* tail : {"x%Y", "%Yx", "%A", "%99999999999d", "%0100000d", "%^c", "%5Z"})
    EXPECT_EQ(print(PercentFormat(fits + tail), 0), "") << tail;
}

TEST_F(PercentFormatTest, TakesFormatsAndTextsOfAnyBytesAndLength) {
  using std::string_view_literals::operator""sv;
  EXPECT_EQ(secondsOfText(PercentFormat("%Y\0%m"sv), "2024\0002"sv), 1706745600);
  EXPECT_EQ(secondsOfText(PercentFormat("%Y"sv), "2024\0"sv), std::nullopt);
  EXPECT_EQ(secondsOfText(PercentFormat("%Z"sv), "a\0b"sv), 0);
  EXPECT_EQ(print(PercentFormat("%Y\0%m%\0"sv), 0), "1970\00001%"sv);
  std::string format, text;
  for (int i = 0; i < 10'000; ++i) (format += "%T "), (text += "01:02:03 ");
  EXPECT_EQ(secondsOfText(PercentFormat(format), text), 3723);
}

TEST_F(PercentFormatTest, ExportedStrptimeStartsAtTheEpochAndGivesTheEnd) {
  std::tm time;
  std::memset(&time, 0x7F, sizeof time);
  const char* text = "12:30  ";
  EXPECT_EQ(DataTypes::strptime(text, "%H:%M", &time), text + 7);
  EXPECT_EQ(show(time), "1970-1-1 12:30:0 day 0 of year, weekday 4");
  EXPECT_EQ(DataTypes::strptime("12:30 x", "%H:%M", &time), nullptr);
}

}  // namespace
}  // namespace kyv_internal
