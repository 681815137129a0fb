#include "kyv/string_utility.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cwchar>
#include <string>
#include <vector>

namespace {

using DALVON::Kyv::joinString;
using DALVON::Kyv::regexMatch;
using DALVON::Kyv::splitString;
using DALVON::Kyv::strprintf;
using DALVON::Kyv::toLowerString;
using DALVON::Kyv::trimSpace;
using DALVON::Kyv::trimWhiteSpace;
using std::string_literals::operator""s;
using testing::ElementsAre;

TEST(StringUtility, LowersAsciiLettersInPlace) {
  std::string text = "ABCxyz-\xC4\0Z"s;
  EXPECT_EQ(&toLowerString(text), &text);
  EXPECT_EQ(text, "abcxyz-\xC4\0z"s);
}

TEST(StringUtility, SplitsIntoTwoAtTheFirstSeparator) {
  const struct {
    std::string text, head, tail;
  } rows[] = {
      {"abc", "abc", ""}, {"a:b:c", "a", "b:c"}, {"abc:", "abc", ""},       {":abc", "", "abc"},
      {"", "", ""},       {":", "", ""},         {"a\0b:c"s, "a\0b"s, "c"},
  };
  for (const auto& row : rows) {
    std::string head = "old", tail = "old";
    splitString(row.text, ':', head, tail);
    EXPECT_EQ(head, row.head) << row.text;
    EXPECT_EQ(tail, row.tail) << row.text;
  }
  std::string text = "a:b:c", head;
  splitString(text, ':', head, text);
  EXPECT_EQ(head + "|" + text, "a|b:c") << "a text may be split into itself";
}

TEST(StringUtility, SplitsIntoAListThatItAppendsTo) {
  const struct {
    std::string text;
    std::vector<std::string> pieces;
  } rows[] = {
      {",a,,b,", {"", "a", "", "b", ""}}, {"", {""}}, {",", {"", ""}}, {"abc", {"abc"}}, {"a,b\0,c"s, {"a", "b"}},
  };
  for (const auto& row : rows) {
    std::vector<std::string> out;
    std::string text = row.text;
    EXPECT_EQ(splitString(text, ',', out), row.pieces.size()) << row.text;
    EXPECT_EQ(out, row.pieces) << row.text;
    EXPECT_EQ(splitString(text, ',', out), 2 * row.pieces.size()) << row.text;
    EXPECT_EQ(text, row.text);
  }
  std::string text = "ab\0c"s;
  std::vector<std::string> out;
  EXPECT_EQ(splitString(text, '\0', out), 1u);
  EXPECT_THAT(out, ElementsAre("ab"));
}

TEST(StringUtility, JoinsWithSeparatorsBetweenOnly) {
  const struct {
    std::vector<std::string> parts;
    std::string expected;
  } rows[] = {{{}, ""}, {{"a"}, "a"}, {{"", ""}, ";"}, {{"a", "", "b"}, "a;;b"}};
  for (const auto& row : rows) {
    std::string out = "old";
    joinString(row.parts, ';', out);
    EXPECT_EQ(out, row.expected);
  }
}

TEST(StringUtility, TrimsSpaceAndWhiteSpaceDifferently) {
  const struct {
    std::string text, space, whiteSpace;
  } rows[] = {
      {"\t a \t\tb  ", "\t a \t\tb", "a b"},
      {"\t x ", "\t x", "x"},
      {"   ", "", ""},
      {"", "", ""},
      {" \t\t ", "\t\t", ""},
      {"\n a \r\n", "\n a \r\n", "\n a \r\n"},
      {" a\v\f  b\xA0 ", "a\v\f  b\xA0", "a\v\f b\xA0"},
      {"  a\0  b "s, "a\0  b"s, "a\0 b"s},
  };
  for (const auto& row : rows) {
    std::string text = row.text;
    EXPECT_EQ(trimSpace(text), row.space) << row.text;
    EXPECT_EQ(text, row.space) << row.text;
    text = row.text;
    trimWhiteSpace(text);
    EXPECT_EQ(text, row.whiteSpace) << row.text;
  }
}

TEST(StringUtility, FormatsTextsOfAnyLength) {
  EXPECT_EQ(strprintf("record %lu: column %s", 7UL, "Id"), "record 7: column Id");
  EXPECT_EQ(strprintf("%s", ""), "");
  for (const std::size_t length : {1022, 1023, 1024, 1025, 100'000}) {
    const std::string text(length - 1, 'x');
    const std::string printed = strprintf("%s%d", text.c_str(), 7);
    EXPECT_EQ(printed, text + "7") << length;
    if (length > 1023) {
      EXPECT_EQ(printed.capacity(), length) << "no more memory than it takes";
    }
  }
  EXPECT_EQ(strprintf("a%cb", 0), "a");
  EXPECT_EQ(strprintf("%s%c%s", std::string(2000, 'x').c_str(), 0, "b"), std::string(2000, 'x'));
}

TEST(StringUtility, TakesAFormattingErrorForTheEndOfTheText) {
  // U+20AC has no encoding in the "C" locale, in which tests run.
  EXPECT_EQ(strprintf("price in %lc or so", static_cast<std::wint_t>(0x20AC)), "price in ");
}

TEST(StringUtility, MatchesExtendedExpressionsAnywhere) {
  const struct {
    const char* pattern;
    const char* text;
    bool matches;
  } rows[] = {
      {"b+", "abbc", true},    {"(", "(", false},      {"[", "[", false},           {"^b", "abbc", false},
      {"B", "abc", false},     {"^a$", "a\nb", false}, {"(a|b){2}c", "xabc", true}, {"", "anything", true},
      {"a{2,1}", "aa", false}, {"a.b", "a\nb", true},
  };
  for (const auto& row : rows) EXPECT_EQ(regexMatch(row.pattern, row.text), row.matches) << row.pattern;
}

}  // namespace
