#include "printable_text.h"

#include <gtest/gtest.h>

namespace kyv_internal {
namespace {

TEST(PrintableText, EscapesWhatIsNoInk) {
  const struct {
    std::string text;
    const char* escaped;
  } kCases[] = {
      {"", ""},
      {"plain, with 'quotes'", "plain, with 'quotes'"},
      {"Zo\xC3\xAB \xE2\x82\xAC \xF0\x9F\x98\x80", "Zo\xC3\xAB \xE2\x82\xAC \xF0\x9F\x98\x80"},
      {"\"\\\n\r\t", "\\\"\\\\\\n\\r\\t"},
      {std::string("\0\x1B[31m\x7F", 7), "\\x00\\x1B[31m\\x7F"},
      {"\xC2\x9B"
       "2J \xE2\x80\xAE \xEF\xBB\xBF",
       "\\u009B2J \\u202E \\uFEFF"},
      {"\x9B \xFF \xC3", "\\x9B \\xFF \\xC3"},
      {"\xC0\xAF \xE0\x80\xAF \xED\xA0\x80 \xF4\x90\x80\x80",
       "\\xC0\\xAF \\xE0\\x80\\xAF \\xED\\xA0\\x80 \\xF4\\x90\\x80\\x80"},
  };
  for (const auto& row : kCases) EXPECT_EQ(escaped(row.text), row.escaped);
}

TEST(PrintableText, LeavesTheMiddleOutBetweenCharacters) {
  EXPECT_EQ(escapedClipped("abcdefgh", 8), "abcdefgh");
  EXPECT_EQ(escapedClipped("abcdefgh", 4), "ab ... gh");
  EXPECT_EQ(escapedClipped("a\xC3\xAB\xC3\xAB\xC3\xAB\xC3\xABz", 4), "a ... z");
  EXPECT_EQ(printableClipped(std::string(9, '\x80'), 4), " ... ");
}

}  // namespace
}  // namespace kyv_internal
