#include "datatypes/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "datatypes/digit_block.h"
#include "datatypes/usual_number.h"
#include "tests/support/guarded_text.h"

namespace kyv_internal {
namespace {

using kyv_test::parseBothWays;
using kyv_test::printGuarded;

std::string outcome(const Parsed<std::int64_t>& parsed) {
  return parsed.error == nullptr ? std::to_string(parsed.value) : parsed.error;
}

TEST(IntegerText, FollowsTheRulesOfItsType) {
  const std::string integer = "integer constant does not ", range = "constant out of range";
  const std::string begin = "begin with a legal character", end = "end with a legal character";
  const struct {
    const IntegerRules& rules;
    std::string outcome;
    std::vector<const char*> texts;
  } rows[] = {
      {kInt16Rules, "-32768", {"-32768"}},
      {kInt16Rules, "32767", {"+32767"}},
      {kInt16Rules, "16-bit integer " + range, {"32768", "-32769"}},
      {kInt16Rules, integer + begin, {" 12", ""}},
      {kInt16Rules, integer + end, {"-"}},
      {kIntegerRules, "-2147483648", {"-2147483648"}},
      {kIntegerRules, "42", {"0000000000000000000000000042"}},
      {kIntegerRules, "integer " + range, {"2147483648"}},
      {kIntegerRules, integer + begin, {"x"}},
      {kIntegerRules, integer + end, {"+-1", "99999999999999999999x", "12 ", "1.0"}},
      {kLongRules, "-9223372036854775808", {"-9223372036854775808"}},
      {kLongRules, "9223372036854775807", {"9223372036854775807"}},
      {kLongRules, "long " + range, {"9223372036854775808", "-9223372036854775809", "18446744073709551617"}},
      {kLongRules, "long constant does not " + begin, {" 1"}},
      {kLongRules, "long constant does not " + end, {"+", "12345678/", "1234567:12345678"}},
      {kIntervalRules, "-7", {"-7"}},
      {kIntervalRules, "interval constant does not " + begin, {"-", "+ 7"}},
      {kIntervalRules, "interval constant does not " + end, {"7s"}},
      {kIntervalRules, "integer " + range, {"9223372036854775808"}},  // the message of an integer is meant
  };
  for (const auto& row : rows) {
    for (const char* text : row.texts) {
      const auto parsed = parseBothWays(text, [&](auto view) { return parseInteger(view, row.rules); });
      EXPECT_EQ(outcome(parsed), row.outcome) << text;
    }
  }
}

std::string randomText(std::mt19937_64& random, std::string_view alphabet, std::size_t longest) {
  std::string text(random() % (longest + 1), '\0');
  for (char& c : text) c = alphabet[random() % alphabet.size()];
  return text;
}

TEST(IntegerText, AgreesWithTheCLibrary) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 200'000; ++i) {
    const std::string text = randomText(random, i % 4 == 0 ? "0123456789+-/: x\x10\xB0" : "0123456789", 22);
    const auto parsed = parseBothWays(text, [](auto view) { return parseInteger(view, kLongRules); });
    char* end = nullptr;
    errno = 0;
    const long long expected = std::strtoll(text.c_str(), &end, 10);
    const bool begins = !text.empty() && (isSign(text[0]) || isDigit(text[0]));
    const bool accepted = begins && *end == '\0' && end != text.c_str() && errno == 0;
    ASSERT_EQ(parsed.error == nullptr, accepted) << text << ": " << outcome(parsed);
    ASSERT_EQ(accepted ? parsed.value : expected, expected) << text;
  }
}

TEST(IntegerText, PrintsAsTheCLibraryDoes) {
  std::mt19937_64 random(2);
  const auto check = [](std::int64_t value) {
    const auto text = printGuarded(kMaxIntegerText, [&](char* out) { return printInteger(value, out); });
    ASSERT_EQ(text, std::to_string(value));
  };
  for (const std::int64_t value : {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()})
    check(value);
  for (std::size_t digits = 0; digits < 19; ++digits) {
    const auto power = static_cast<std::int64_t>(kPowersOfTen[digits]);
    for (const std::int64_t value : {power - 1, power, -power, 1 - power}) check(value);
  }
  for (int i = 0; i < 100'000; ++i) check(static_cast<std::int64_t>(random()) >> (random() % 64));
}

TEST(IntegerText, PadsToExactlyItsDigits) {
  const struct {
    std::uint64_t value;
    int digits;
    const char* text;
  } rows[] = {{7, 1, "7"},
              {7, 2, "07"},
              {999, 3, "999"},
              {5, 6, "000005"},
              {1, 0, ""},
              {12345, 4, "2345"},
              {std::numeric_limits<std::uint64_t>::max(), 22, "0018446744073709551615"}};
  for (const auto& row : rows) {
    const auto room = static_cast<std::size_t>(row.digits);
    EXPECT_EQ(printGuarded(room, [&](char* out) { return printPadded(row.value, row.digits, out); }), row.text);
  }
}

Parsed<double> parseExactly(const std::string& text) {
  return parseBothWays(text, [](auto view) { return parseFloat(view); });
}

TEST(FloatText, RefusesWhatIsNoDecimalNumber) {
  const struct {
    const char* error;
    std::vector<const char*> texts;
  } rows[] = {
      {"float constant does not begin with a legal character", {"", " 12", "inf", "nan", "e5"}},
      {"float constant does not end with a legal character",
       {"-inf", "+nan", ".", "-", "+.", "+-1", "--1", "1e", "1e+", "0x10", "1.2.3", "1,5", "1 ", ".e1", "1e400x"}},
      {"float constant out of range",
       {"1e400", "-1e400", "1e-400", "1e99999999999999999999", "1.7976931348623159e308", "2e-324"}}};
  for (const auto& row : rows) {
    for (const char* text : row.texts) EXPECT_STREQ(parseExactly(text).error, row.error) << text;
  }
}

// The C library's reading; text must be free of hexadecimal and named numbers.
void expectAsInC(const std::string& text) {
  const auto parsed = parseExactly(text);
  char* end = nullptr;
  errno = 0;
  const double expected = std::strtod(text.c_str(), &end);
  const bool outOfRange = errno == ERANGE && (expected == 0 || std::isinf(expected));
  const bool accepted = end != text.c_str() && *end == '\0' && text[0] != ' ' && !outOfRange;
  ASSERT_EQ(parsed.error == nullptr, accepted) << text;
  const double value = accepted ? parsed.value : expected;
  ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(expected)) << text;
}

std::string asInC(const char* format, int places, double value) {
  char text[2048];
  const int size = std::snprintf(text, sizeof text, format, places, value);
  return {text, static_cast<std::size_t>(size)};
}

// Doubles of all magnitudes, with usual amounts and exact halves among them.
double randomDouble(std::mt19937_64& random) {
  const double sign = random() % 4 == 0 ? -1 : 1;
  switch (random() % 4) {
    case 0:
      return sign * static_cast<double>(random() % 100'000'000) / 100;
    case 1:
      return sign * std::ldexp(static_cast<double>(random() >> (11 + random() % 52)), -static_cast<int>(random() % 60));
    case 2:
      return sign * (static_cast<double>(random() % 1000) + 0.5 * static_cast<double>(random() % 2));
    default:
      return std::bit_cast<double>(random());
  }
}

TEST(FloatText, ReadsToTheLastBitAsTheCLibraryDoes) {
  for (const char* text : {"1.",
                           ".5",
                           "+.5",
                           "-.5",
                           "-0",
                           "-0.0",
                           "0e99999",
                           "0e-99999",
                           "4e-324",
                           "1e23",
                           "12345678",
                           "2.2250738585072011e-308",
                           "1.7976931348623157e308",
                           "9007199254740993",
                           "1234567.8",
                           "9007199254740992.5",
                           ".12345678",
                           "123456789012345.6",
                           "1234567890123456.",
                           "00000000000000000000000001.5"})
    expectAsInC(text);
  std::mt19937_64 random(3);
  for (int i = 0; i < 100'000; ++i) {
    expectAsInC(randomText(random, "01234567890123456789.", 20));
    expectAsInC(randomText(random, "0123456789.eE+-", 12));
    const double value = randomDouble(random);
    if (std::isfinite(value)) expectAsInC(asInC("%.*g", static_cast<int>(1 + random() % 25), value));
  }
}

std::string printed(double value, unsigned long places, double tolerance, std::size_t room = 1024) {
  return printGuarded(room, [&](char* out) { return printFloat(value, places, tolerance, out, room); });
}

TEST(FloatText, PrintsToTheLastDigitAsTheCLibraryDoes) {
  std::mt19937_64 random(4);
  for (int i = 0; i < 200'000; ++i) {
    const double value = randomDouble(random);
    const int places = static_cast<int>(random() % (i % 16 == 0 ? 400 : 22));
    const bool large = std::fabs(value) > 1e80;
    const auto expected = large ? asInC("%.*g", 25, value) : asInC("%.*f", places, value);
    ASSERT_EQ(printed(value, static_cast<unsigned long>(places), 0), expected.substr(0, 1024)) << places;
  }
}

TEST(FloatText, RoundsTiesToEvenAndSmallMagnitudesToZero) {
  const struct {
    double value;
    unsigned long places;
    double tolerance;
    const char* text;
  } rows[] = {
      {0.5, 0, 0, "0"},
      {1.5, 0, 0, "2"},
      {2.5, 0, 0, "2"},
      {0.125, 2, 0, "0.12"},
      {0.375, 2, 0, "0.38"},
      {0.9999999, 6, 1e-6, "1.000000"},
      {1e-20, 6, 1e-6, "0.000000"},
      {-1e-20, 6, 1e-6, "0.000000"},
      {-0.0, 6, 1e-6, "0.000000"},
      {-9.9e-7, 6, 1e-6, "0.000000"},
      {-1e-6, 6, 1e-6, "-0.000001"},
      {-0.0, 2, 0, "-0.00"},
      {0.7, 0, 1, "0"},
      {9223372036854774784.0, 1, 0, "9223372036854774784.0"},
      {1e80, 0, 0, "100000000000000000026609864708367276537402401181200809098131977453489758916313088"},
      {1.5e100, 6, 1e-6, "1.499999999999999926720892e+100"},
      {std::numeric_limits<double>::infinity(), 6, 1e-6, "inf"},
      {-std::numeric_limits<double>::infinity(), 6, 1e-6, "-inf"},
      {std::numeric_limits<double>::quiet_NaN(), 6, 1e-6, "nan"},
  };
  for (const auto& row : rows) EXPECT_EQ(printed(row.value, row.places, row.tolerance), row.text);
}

TEST(FloatText, CutsWhatDoesNotFit) {
  EXPECT_EQ(printed(-1234.5678, 6, 0, 0), "");
  EXPECT_EQ(printed(-1234.5678, 6, 0, 7), "-1234.5");
  EXPECT_EQ(printed(0.5, 5000, 0, 1024), "0.5" + std::string(1021, '0'));
  EXPECT_EQ(printed(0x1p-1074, 1100, 0, 2000), asInC("%.*f", 1100, 0x1p-1074));
  EXPECT_EQ(printed(2, std::numeric_limits<unsigned long>::max(), 0, 100), "2." + std::string(98, '0'));
}

TEST(FloatText, ShortFormKeepsFifteenDigits) {
  const struct {
    double value;
    const char* text;
  } rows[] = {{0, "0.000000000000000e+00"},
              {1e-15, "1.000000000000000e-15"},
              {2e-15, "0.000000000000002"},
              {-0.1, "-0.100000000000000"},
              {1, "1.00000000000000"},
              {123.456, "123.456000000000"},
              {99999999999999, "99999999999999.0"},
              {1e14, "100000000000000"},
              {1e16, "1.000000000000000e+16"},
              {1e15, "1000000000000000.000000"},
              {9.5e15, "9500000000000000.000000"},  // six places are meant
              {-1.5e300, "-1.500000000000000e+300"},
              {std::numeric_limits<double>::infinity(), "inf"},
              {std::numeric_limits<double>::quiet_NaN(), "nan"}};
  for (const auto& row : rows) {
    EXPECT_EQ(printGuarded(49, [&](char* out) { return printFloatShort(row.value, out); }), row.text);
  }
}

TEST(FloatText, ExactFormReadsBack) {
  const auto exact = [](double value) {
    return printGuarded(32, [=](char* out) { return printFloatExact(value, out); });
  };
  const struct {
    double value;
    const char* text;
  } rows[] = {{0.1, "0.1"},
              {5, "5.0"},
              {-0.0, "-0.0"},
              {100000, "100000.0"},
              {0.0001, "0.0001"},
              {1e22, "1e+22"},
              {999999.999999999, "999999.999999999"},
              {999999999999, "999999999999.0"},
              {1.0 / 3, "0.3333333333333333"},
              {-1e-300, "-1e-300"}};
  for (const auto& row : rows) EXPECT_EQ(exact(row.value), row.text);
  std::mt19937_64 random(5);
  for (int i = 0; i < 50'000; ++i) {
    const double value = randomDouble(random);
    if (!std::isfinite(value)) continue;
    const std::string text = exact(value);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(parseFloat(text).value), std::bit_cast<std::uint64_t>(value)) << text;
  }
}

TEST(FloatText, ExactFormOfADecimalHasItsDigitsOnly) {
  std::mt19937_64 random(6);
  for (int i = 0; i < 50'000; ++i) {
    const int places = 1 + static_cast<int>(random() % 9);
    const double value = static_cast<double>(random() % 1'000'000'000'000) / std::pow(10, places);
    std::string expected(64, '\0');
    expected.resize(static_cast<std::size_t>(std::snprintf(expected.data(), 64, "%.*f", places, value)));
    while (expected.ends_with('0') && !expected.ends_with(".0")) expected.pop_back();
    const auto text = printGuarded(32, [=](char* out) { return printFloatExact(value, out); });
    ASSERT_EQ(text, expected);
    ASSERT_EQ(parseFloat(text).value, value) << text;
  }
}

}  // namespace
}  // namespace kyv_internal
