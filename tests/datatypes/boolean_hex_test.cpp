#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "datatypes/boolean_text.h"
#include "datatypes/hex_text.h"
#include "tests/support/guarded_text.h"

namespace kyv_internal {
namespace {

using kyv_test::parseBothWays;
using kyv_test::readExactly;

constexpr auto kParse = [](auto text) { return parseBoolean(text); };

TEST(BooleanText, KnowsItsWordsInAnyCaseBetweenWhiteSpace) {
  const struct {
    std::string_view text;
    bool value;
  } rows[] = {{"t", true},   {"TRUE", true},       {"y", true},  {"Yes", true},    {"on", true},
              {"1", true},   {" \t\r\nT\n", true}, {"f", false}, {"False", false}, {"N", false},
              {"no", false}, {"OFF", false},       {"0", false}, {"0 ", false}};
  for (const auto& row : rows) {
    const auto parsed = parseBothWays(row.text, kParse);
    EXPECT_EQ(parsed.error, nullptr) << row.text;
    EXPECT_EQ(parsed.value, row.value) << row.text;
  }
  for (const std::string_view text :
       {"", " ", "tr", "o", "yess", "truee", "2", "1 0", "\v1", "\x11", "01", "\0t", "falsex"})
    EXPECT_STREQ(parseBothWays(text, kParse).error, "not a legal boolean value") << text;
  EXPECT_NE(parseBoolean(std::string_view("\0t", 2)).error, nullptr);
}

using Bytes = std::vector<unsigned char>;

constexpr const char* kInvalid = "Invalid hex character";
constexpr const char* kTooSmall = "Output buffer too small";
constexpr const char* kOdd = "Odd number of characters in hex string";

TEST(HexText, PairsDigitsAcrossWhiteSpace) {
  const std::string thirty(30, 'A');
  const struct {
    std::string text;
    std::size_t capacity;
    Bytes bytes;
    const char* error;
  } rows[] = {
      {"", 0, {}, nullptr},
      {" 01\taB\r\nFf ", 3, {0x01, 0xAB, 0xFF}, nullptr},
      {"a b", 1, {0xAB}, nullptr},
      {"abc", 1, {}, kOdd},  // the capacity counts when a pair is complete
      {"abcdxx", 1, {}, kTooSmall},
      {"abxxcd", 1, {}, kInvalid},
      {"\v", 1, {}, kInvalid},
      {"/:", 1, {}, kInvalid},
      {"@`", 1, {}, kInvalid},
      {thirty + " 12", 16, Bytes(15, 0xAA), nullptr},
      {thirty + "1g", 16, {}, kInvalid},
      {thirty + "1\xC6", 16, {}, kInvalid},
      {thirty + "12", 15, {}, kTooSmall},
      {thirty + "1", 16, {}, kOdd},
  };
  for (auto row : rows) {
    if (row.text == thirty + " 12") row.bytes.push_back(0x12);
    Bytes out(row.capacity);
    const auto parsed = readExactly(row.text, [&](std::string_view text) { return parseHex(text, out); });
    EXPECT_STREQ(parsed.error, row.error) << row.text;
    if (parsed.error != nullptr) continue;
    out.resize(parsed.value);
    EXPECT_EQ(out, row.bytes) << row.text;
  }
}

TEST(HexText, PrintsAndReadsBackBytesOfAnyLength) {
  std::mt19937_64 random(8);
  for (std::size_t size = 0; size < 200; ++size) {
    Bytes bytes(size);
    std::string expected;
    std::string spaced;
    for (unsigned char& byte : bytes) {
      byte = static_cast<unsigned char>(random());
      char digits[3];
      std::snprintf(digits, sizeof digits, "%02X", byte);
      expected += digits;
      spaced += digits;
      if (random() % 20 == 0) spaced.insert(spaced.size() - random() % 2, 1, " \t\r\n"[random() % 4]);
    }
    ASSERT_EQ(kyv_test::printGuarded(2 * size, [&](char* out) { return printHex(bytes, out); }), expected);
    for (const std::string& text : {expected, spaced}) {
      Bytes out(size);
      const auto parsed = readExactly(text, [&](std::string_view view) { return parseHex(view, out); });
      ASSERT_EQ(parsed.error, nullptr) << text;
      ASSERT_EQ(parsed.value, size) << text;
      ASSERT_EQ(out, bytes) << text;
    }
  }
}

TEST(HexText, KnowsEveryCharacterInsideABlock) {
  for (int c = 0; c < 256; ++c) {
    std::string text(64, '0');
    text[37] = static_cast<char>(c);
    Bytes out(32);
    const bool digit = std::string_view("0123456789abcdefABCDEF").find(static_cast<char>(c)) != std::string_view::npos;
    const bool space = std::string_view(" \t\r\n").find(static_cast<char>(c)) != std::string_view::npos;
    EXPECT_STREQ(parseHex(text, out).error, digit ? nullptr : space ? kOdd : kInvalid) << c;
  }
}

}  // namespace
}  // namespace kyv_internal
