#include "connection/csv_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>

#include "row2/line_pieces.h"
#include "services/byte_search.h"

namespace {

using std::string_literals::operator""s;

TEST(CsvLine, EndsBeforeItsLineEnd) {
  const struct {
    const char *line, *bare;
  } rows[] = {{"a", "a"},       {"a\n", "a"},       {"a\r\n", "a"}, {"a\r", "a"}, {"a\n\r", "a\n"},
              {"a\n\n", "a\n"}, {"a\r\r\n", "a\r"}, {"\r\n", ""},   {"", ""},     {"\ra", "\ra"}};
  for (const auto& row : rows) EXPECT_EQ(kyv_internal::withoutLineEnd(row.line), row.bare);
}

TEST(CsvLine, LosesAPairOfTheSameQuotes) {
  const struct {
    const char *text, *bare;
  } rows[] = {{"'a'", "a"}, {"\"a\"", "a"}, {"''", ""},   {"'", "'"},           {"\"", "\""},     {"'a\"", "'a\""},
              {"'a", "'a"}, {"a'", "a'"},   {"'''", "'"}, {"'\"a\"'", "\"a\""}, {" 'a'", " 'a'"}, {"aa", "aa"}};
  for (const auto& row : rows) EXPECT_EQ(kyv_internal::withoutQuotes(row.text), row.bare) << row.text;
}

TEST(LinePieces, AreWhatALoopFinds) {
  std::mt19937 random(7);
  const std::string alphabet = ",,\0\x80\xFF\x2D\x2B a"s;  // neighbours of the comma's bits among them
  for (std::size_t length = 0; length <= 300; ++length) {
    const kyv_internal::PaddedMemory memory = kyv_internal::allocateLine(length);
    std::generate_n(memory.get(), length, [&] { return alphabet[random() % alphabet.size()]; });
    std::fill_n(memory.get() + length, kyv_internal::kSearchBlock, ',');  // which is behind the line
    const std::string text(memory.get(), length);
    for (const char separator : {',', '\0', '\xFF'}) {
      kyv_internal::LinePieces pieces({memory.get(), length}, separator);
      kyv_internal::LinePiece piece;
      for (std::size_t begin = 0, end = 0; begin <= length; begin = end + 1) {
        end = std::min(text.find(separator, begin), length);
        ASSERT_TRUE(pieces.next(piece)) << length;
        ASSERT_EQ(piece, text.substr(begin, end - begin)) << length;
      }
      EXPECT_FALSE(pieces.next(piece)) << length;
    }
  }
}

TEST(ByteSearch, BothRoutesFindWhatALoopFinds) {
  std::mt19937 random(8);
  const std::string alphabet = ",,\0\x80\xFF\x2D\x2B a"s;
  for (int round = 0; round < 1000; ++round) {
    std::array<char, kyv_internal::kSearchBlock> text;
    std::generate(text.begin(), text.end(), [&] { return alphabet[random() % alphabet.size()]; });
    for (const char wanted : {',', '\0', '\xFF'}) {
      std::uint64_t expected = 0, portable = 0;
      for (std::size_t i = 0; i < text.size(); ++i) expected |= std::uint64_t{text[i] == wanted} << i;
      for (std::size_t i = 0; i < text.size(); i += 8) portable |= kyv_internal::matchEight(&text[i], wanted) << i;
      EXPECT_EQ(kyv_internal::ByteSearch(wanted).inBlock(text.data()), expected);
      EXPECT_EQ(portable, expected);
    }
  }
}

}  // namespace
