#include "datatypes/decimal_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "kyv/data_value.h"
#include "tests/support/guarded_text.h"

namespace kyv_internal {
namespace {

constexpr Coefficient kLeast = makeCoefficient(std::uint64_t{1} << 63, 0);
constexpr Coefficient kMost = ~kLeast;

std::string printed(Coefficient coefficient, int scale) {
  return kyv_test::printGuarded(kMaxDecimalText, [&](char* out) { return printDecimal(coefficient, scale, out); });
}

Parsed<Coefficient> parseExactly(std::string_view text, int precision, int scale) {
  return kyv_test::parseBothWays(text, [&](auto view) { return parseDecimal(view, precision, scale); });
}

constexpr Coefficient tenTo(int power) { return power == 0 ? 1 : 10 * tenTo(power - 1); }

// One digit at a time.
std::string printNaively(Coefficient coefficient, int scale) {
  auto rest = static_cast<unsigned __int128>(coefficient);
  if (coefficient < 0) rest = -rest;
  std::string text;
  for (int place = 0; rest != 0 || place <= scale; ++place, rest /= 10) {
    if (place == scale && scale > 0) text += '.';
    text += static_cast<char>('0' + static_cast<int>(rest % 10));
  }
  if (coefficient < 0) text += '-';
  std::reverse(text.begin(), text.end());
  return text;
}

TEST(DecimalText, ReadsOptionalSignDigitsAndPoint) {
  const std::string sixtyTwoZeros(62, '0');
  const struct {
    std::string text;
    int precision;
    int scale;
    Coefficient value;
  } rows[] = {
      {"-123.459", 10, 2, -12345},
      {"+7", 1, 0, 7},
      {"7.", 3, 2, 700},
      {".5", 3, 2, 50},
      {"0.004", 0, 2, 0},
      {"0.00123", 3, 5, 123},
      {"000000000000000000000000000000000000000000000000001.5", 2, 1, 15},
      {"999999999999999.9", 16, 1, 9999999999999999},
      {"1", 34, 33, tenTo(33)},
      {"0." + sixtyTwoZeros + "7", 1, 63, 7},
      {"0." + sixtyTwoZeros + "7", 1, 62, 0},
      {"0", 5, 63, 0},
      {"170141183460469231731687303715884105727", 39, 0, kMost},
      {"-1701411834604692317316873037158841057.28", 60, 2, kLeast},
      {"00000000000000000000000000000007.000000000000001", 16, 15, 7 * tenTo(15) + 1},
      {"-1234567890123456.", 16, 0, -1234567890123456},
      {".1234567890123456", 16, 16, 1234567890123456},
  };
  for (const auto& row : rows) {
    const auto parsed = parseExactly(row.text, row.precision, row.scale);
    EXPECT_EQ(parsed.error, nullptr) << row.text;
    EXPECT_EQ(printNaively(parsed.value, 0), printNaively(row.value, 0)) << row.text;
  }
}

TEST(DecimalText, RefusesOtherTextAndWhatDoesNotFitWithOneMessage) {
  const struct {
    int precision, scale;
    std::vector<std::string> texts;
  } rows[] = {
      {10, 2, {"", "-", ".", "+.", " 1", "1 ", "1e3", "1.2.3", "--1", "1.239x", "x"}},
      {0, 0, {"1"}},
      {4, 2, {"100"}},
      {3, 0, {"1000"}},
      {0, 1, {"0.1"}},
      {-1, 0, {"1"}},
      {10, -1, {"1"}},
      {10, 64, {"1"}},
      {100, 39, {"1"}},
      {39, 63, {"1"}},
      {39, 0, {"170141183460469231731687303715884105728", "-170141183460469231731687303715884105729"}},
      {50, 0, {"340282366920938463463374607431768211457"}},
      {100, 0, {"1" + std::string(60, '0'), "1234567890123456789012345678901234567890.x"}},
  };
  for (const auto& row : rows) {
    for (const std::string& text : row.texts)
      EXPECT_STREQ(parseExactly(text, row.precision, row.scale).error, "input exceeds specified precision") << text;
  }
}

TEST(DecimalText, PrintsEveryDigitOfTheCoefficient) {
  const struct {
    Coefficient value;
    int scale;
    const char* text;
  } rows[] = {
      {0, 0, "0"},
      {0, 3, "0.000"},
      {-5, 0, "-5"},
      {-5, 2, "-0.05"},
      {12345, 2, "123.45"},
      {kLeast, 0, "-170141183460469231731687303715884105728"},
      {kLeast, 39, "-0.170141183460469231731687303715884105728"},
      {kMost, 38, "1.70141183460469231731687303715884105727"},
      {kLeast, 63, "-0.000000000000000000000000170141183460469231731687303715884105728"},
  };
  for (const auto& row : rows) EXPECT_EQ(printed(row.value, row.scale), row.text);
}

// A coefficient moved to another scale, one place at a time.
std::optional<Coefficient> moveNaively(Coefficient value, int places) {
  for (; places < 0; ++places) value /= 10;
  for (; places > 0; --places) {
    if (__builtin_mul_overflow(value, 10, &value)) return std::nullopt;
  }
  return value;
}

std::string outcome(const Parsed<Coefficient>& parsed) {
  return parsed.error == nullptr ? printNaively(parsed.value, 0) : parsed.error;
}

TEST(DecimalText, AgreesWithOneDigitAtATimeAndReadsBackAtAnyScale) {
  std::mt19937_64 random(9);
  for (int i = 0; i < 100'000; ++i) {
    const Coefficient value = makeCoefficient(random(), random()) >> (random() % 128);
    const int scale = static_cast<int>(random() % 64);
    const std::string text = printed(value, scale);
    ASSERT_EQ(text, printNaively(value, scale));
    ASSERT_EQ(outcome(parseExactly(text, 39, scale)), printNaively(value, 0)) << text;
    const int wanted = static_cast<int>(random() % 64);
    const auto moved = moveNaively(value, wanted - scale);
    const std::string expected = moved ? printNaively(*moved, 0) : "input exceeds specified precision";
    ASSERT_EQ(outcome(parseExactly(text, 39, wanted)), expected) << text << " at scale " << wanted;
  }
}

bool isNumber(std::string_view text) {
  takeSign(text);
  const auto digits = std::count_if(text.begin(), text.end(), isDigit);
  const auto points = std::count(text.begin(), text.end(), '.');
  return digits > 0 && points <= 1 && digits + points == static_cast<std::ptrdiff_t>(text.size());
}

TEST(DecimalText, FindsTheFaultAnywhere) {
  std::mt19937_64 random(10);
  for (int i = 0; i < 100'000; ++i) {
    const int scale = static_cast<int>(random() % 20);
    std::string text = printed(makeCoefficient(random(), random()) >> (random() % 128), scale);
    text[random() % text.size()] = "./:+-e \xB0"[random() % 8];
    ASSERT_EQ(parseExactly(text, 39, scale).error == nullptr, isNumber(text)) << text;
  }
}

TEST(DecimalText, FourDigitTableCountsUp) {
  EXPECT_EQ(std::string(DataTypes::four2ascii[0], 4), "0000");
  EXPECT_EQ(std::string(DataTypes::four2ascii[1234], 4), "1234");
  EXPECT_EQ(std::string(DataTypes::four2ascii[9999], 4), "9999");
}

TEST(FixedDecimalValue, KeepsItsValueWhenTheTextDoesNotFit) {
  DataTypes::FixedDecimalValue value;
  ASSERT_TRUE(value.setDecimalValue(10, 2, "-123.459"));
  EXPECT_FALSE(value.setDecimalValue(3, 2, "123.45"));
  EXPECT_EQ(value.toString(), "-123.45");
  EXPECT_EQ(value.precision(), 10);
  EXPECT_EQ(value.scale(), 2);
  EXPECT_EQ(value.high(), ~std::uint64_t{0});
  EXPECT_EQ(value.low(), static_cast<std::uint64_t>(-12345));
}

}  // namespace
}  // namespace kyv_internal
