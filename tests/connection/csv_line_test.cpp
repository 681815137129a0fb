#include "connection/csv_line.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "services/byte_search.h"

namespace {

using kyv_internal::RowField;
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

// The fields that a line is split into with room for three, "-" for a null one, and how many it said there are.
std::string split(const std::string& line, char* writable) {
  std::vector<RowField> fields(3);
  const std::size_t count = kyv_internal::splitFields(line, writable, ',', fields);
  std::string text = std::to_string(count) + ":";
  for (std::size_t i = 0; i < std::min<std::size_t>(count, 3); ++i) {
    text += fields[i].data == nullptr ? " -" : " " + std::string(fields[i].text());
  }
  return text;
}

TEST(CsvLine, SplitsAtEverySeparatorWhateverTheQuotes) {
  const struct {
    std::string line, fields, altered;
  } rows[] = {
      {"1,abc,2.5", "3: 1 abc 2.5", "1,abc,2.5"},
      {"1,,3", "3: 1 - 3", "1,,3"},
      {"1,'',\"\"", "3: 1 - -", "1,'\0,\"\0"s},
      {"'a,b'", "2: 'a b'", "'a,b'"},
      {"'a',\"b\",'", "3: a b '", "'a\0,\"b\0,'"s},
      {"", "1: -", ""},
      {",,", "3: - - -", ",,"},
      {"1,2,3,4,5", "4: 1 2 3", "1,2,3,4,5"},
      {"1,2,3,", "4: 1 2 3", "1,2,3,"},
  };
  for (const auto& row : rows) {
    std::string line = row.line;
    EXPECT_EQ(split(line, nullptr), row.fields);
    EXPECT_EQ(line, row.line) << "left alone";
    EXPECT_EQ(split(line, line.data()), row.fields);
    EXPECT_EQ(line, row.altered) << "closing quotes are overwritten";
  }
}

TEST(ByteSearch, BothRoutesFindWhatALoopFinds) {
  std::mt19937 random(7);
  const std::string alphabet = ",,\0\x80\xFF\x2D\x2B a"s;  // neighbours of the comma's bits among them
  for (std::size_t length = 0; length <= 300; ++length) {
    std::vector<char> memory(length + length % 9);  // odd addresses, and nothing behind the text
    for (char& c : memory) c = alphabet[random() % alphabet.size()];
    const std::string_view text(memory.data() + length % 9, length);
    for (const char wanted : {',', '\0', '\xFF'}) {
      std::vector<std::size_t> expected, found;
      for (std::size_t i = 0; i < length; ++i) {
        if (text[i] == wanted) expected.push_back(i);
      }
      kyv_internal::forEachMatch(text, wanted, [&](std::size_t at) { return found.push_back(at), true; });
      EXPECT_EQ(found, expected) << length;
      for (std::size_t i = 0; i + 8 <= length; ++i) {
        std::uint64_t bits = 0;
        for (std::size_t k = 0; k < 8; ++k) bits |= std::uint64_t{text[i + k] == wanted} << k;
        ASSERT_EQ(kyv_internal::matchEight(text.data() + i, wanted), bits) << length << " " << i;
      }
      std::size_t calls = 0;
      kyv_internal::forEachMatch(text, wanted, [&](std::size_t) { return ++calls < 2; });
      EXPECT_EQ(calls, std::min<std::size_t>(expected.size(), 2)) << "stops when told to";
    }
  }
}

}  // namespace
