#include "datatypes/money_text.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "datatypes/digit_block.h"
#include "datatypes/usual_number.h"
#include "tests/support/guarded_text.h"
#include "tests/support/readings.h"

namespace kyv_internal {
namespace {

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

constexpr const char* kBadBegin = "money constant does not begin with a legal character";
constexpr const char* kBadEnd = "money constant does not end with a legal character";
constexpr const char* kBadFraction = "money constant fractional part does not begin with a digit";
constexpr const char* kOutOfRange = "money constant out of range";

MoneyScale scaleOf(int places) {
  return {places, static_cast<std::int64_t>(kPowersOfTen[static_cast<std::size_t>(places)])};
}

Parsed<std::int64_t> parseExactly(std::string_view text, int places) {
  return kyv_test::parseBothWays(text, [&](auto view) { return parseMoney(view, scaleOf(places)); });
}

std::string outcome(const Parsed<std::int64_t>& parsed) {
  return parsed.error == nullptr ? std::to_string(parsed.value) : parsed.error;
}

struct Row {
  int places;
  const char* readings;
};

void check(std::initializer_list<Row> rows) {
  for (const auto& [places, table] : rows) {
    for (const auto& [text, expected] : kyv_test::readings(table)) {
      EXPECT_EQ(outcome(parseExactly(text, places)), expected) << text << " with " << places << " places";
    }
  }
}

void checkRefused(const char* message, int places, std::initializer_list<const char*> texts) {
  for (const char* text : texts) EXPECT_EQ(outcome(parseExactly(text, places)), message) << text << ", " << places;
}

TEST(MoneyText, DropsDigitsBeyondItsPlacesUnseenAndFillsUpMissingOnes) {
  check({{2, "1.239=123|1.23xyz=123|-1.999=-199|12345678901234.567=1234567890123456"},
         {4, ".5=5000|.=0| \t\v\n12=120000|3.000000000000000000000000000000001=30000"},
         {0, "7.=7|+7=7"},
         {1, "000000000000000000000000000012.5=125"}});
}

TEST(MoneyText, RefusesWhatTheRulesDoNotName) {
  checkRefused(kBadBegin, 4, {"", "   ", "-", "--5", " -5", "x"});
  checkRefused(kBadEnd, 4, {"5 ", "5-", "5.5x", "99999999999999999999x"});
  checkRefused(kBadFraction, 4, {"5.x", "5.-1", "5..", "99999999999999999999.x"});
  checkRefused(kBadFraction, 0, {"5.5", ".5"});
}

TEST(MoneyText, ReadsOddPointsToTheLetter) {
  check({{4, "1.2.=10002|1.23.4=10023|1.2345.=12345"}});  // a second point ends the fraction, which is not filled up
  checkRefused(kBadEnd, 4, {"-.5", "+.", " .5"});         // no whole part between sign or white space and point
}

TEST(MoneyText, EndsExactlyAtSixtyFourBits) {
  const std::string most = std::to_string(kMost), least = std::to_string(kLeast);
  EXPECT_EQ(outcome(parseExactly("922337203685477.5807", 4)), most);
  EXPECT_EQ(outcome(parseExactly("-922337203685477.5808", 4)), least);
  EXPECT_EQ(outcome(parseExactly(most, 0)), most);
  EXPECT_EQ(outcome(parseExactly(least, 0)), least);
  EXPECT_EQ(outcome(parseExactly("9.223372036854775807", 18)), most);
  EXPECT_EQ(outcome(parseExactly("-9.2233720368547758089", 18)), least);
  checkRefused(kOutOfRange, 4, {"922337203685477.5808", "-922337203685477.5809", "922337203685478"});
  checkRefused(kOutOfRange, 0, {"9223372036854775808"});
  checkRefused(kOutOfRange, 1, {"18446744073709551617"});
  checkRefused(kOutOfRange, 18, {"10"});
  checkRefused(kOutOfRange, 15, {"-9223372036854775808.1"});
}

// The rules step by step, with the C library's conversions and a buffer of "0" characters.
Parsed<std::int64_t> parseNaively(const std::string& text, int places) {
  using Result = Parsed<std::int64_t>;
  std::size_t start = 0;
  while (start < text.size() && isSpace(text[start])) ++start;
  if (start < text.size() && isSign(text[start])) start = 1;
  const char first = text.c_str()[start];
  if (first != '.' && !isDigit(first)) return Result::failure(kBadBegin);
  char* end = nullptr;
  errno = 0;
  const __int128 whole = std::strtoll(text.c_str(), &end, 10);
  const bool overflow = errno == ERANGE;
  if (*end != '.' && *end != '\0') return Result::failure(kBadEnd);
  long long fraction = 0;
  if (*end == '.' && end[1] != '\0') {
    std::string buffer(static_cast<std::size_t>(places), '0');
    const std::string_view behind(end + 1);
    buffer.replace(0, std::min(buffer.size(), behind.size()), behind.substr(0, buffer.size()));
    if (!isDigit(buffer.c_str()[0])) return Result::failure(kBadFraction);
    fraction = std::strtoll(buffer.c_str(), &end, 10);
    if (*end != '.' && *end != '\0') return Result::failure(kBadEnd);
  }
  const __int128 value = whole * scaleOf(places).factor + (text[0] == '-' ? -fraction : fraction);
  if (overflow || value > kMost || value < kLeast) return Result::failure(kOutOfRange);
  return {static_cast<std::int64_t>(value)};
}

TEST(MoneyText, AgreesWithTheRulesStepByStepOnEveryShortText) {
  constexpr std::string_view kAlphabet = "019.-+ x";
  constexpr std::size_t kLongest = 5;
  std::size_t count = 1;
  for (std::size_t size = 0; size <= kLongest; ++size, count *= kAlphabet.size()) {
    for (std::size_t i = 0; i < count; ++i) {
      std::string text;
      for (std::size_t rest = i; text.size() < size; rest /= kAlphabet.size())
        text += kAlphabet[rest % kAlphabet.size()];
      for (const int places : {0, 1, 3, 15}) {
        ASSERT_EQ(outcome(parseExactly(text, places)), outcome(parseNaively(text, places))) << text << ", " << places;
      }
    }
  }
}

TEST(MoneyText, AgreesWithTheRulesStepByStepOnLongNumbers) {
  std::mt19937_64 random(6);
  for (int i = 0; i < 100'000; ++i) {
    std::string text = random() % 2 == 0 ? "-" : "";
    for (std::uint64_t left = random() % 18; left > 0; --left) text += static_cast<char>('0' + random() % 10);
    if (random() % 8 != 0) text += '.';
    for (std::uint64_t left = random() % 12; left > 0; --left) text += static_cast<char>('0' + random() % 10);
    if (!text.empty() && random() % 4 == 0) text[random() % text.size()] = ". x/:-+\xB0"[random() % 8];
    const int places = static_cast<int>(random() % 19);
    ASSERT_EQ(outcome(parseExactly(text, places)), outcome(parseNaively(text, places))) << text << ", " << places;
  }
}

std::string printed(std::int64_t value, int places) {
  return kyv_test::printGuarded(kMaxMoneyText, [&](char* out) { return printMoney(value, scaleOf(places), out); });
}

TEST(MoneyText, PrintsAllItsPlaces) {
  const struct {
    std::int64_t value;
    int places;
    const char* text;
  } rows[] = {
      {-12345, 2, "-123.45"},
      {5, 3, "0.005"},
      {-1, 4, "-0.0001"},
      {0, 4, "0.0000"},
      {kLeast, 4, "-922337203685477.5808"},
      {kLeast, 18, "-9.223372036854775808"},
      {kMost, 15, "9223.372036854775807"},
      // Without places a "0" behind the point is meant.
      {5, 0, "5.0"},
      {kLeast, 0, "-9223372036854775808.0"},
  };
  for (const auto& row : rows) EXPECT_EQ(printed(row.value, row.places), row.text);
  std::mt19937_64 random(7);
  for (int i = 0; i < 50'000; ++i) {
    const auto value = static_cast<std::int64_t>(random()) >> (random() % 64);
    const int places = static_cast<int>(1 + random() % 18);
    ASSERT_EQ(parseMoney(printed(value, places), scaleOf(places)).value, value) << places;
  }
}

}  // namespace
}  // namespace kyv_internal
