#include "row2/json_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using std::string_literals::operator""s;

TEST(JsonText, EscapesWhatJsonCannotHoldAndReplacesWhatIsNoUtf8) {
  const std::string no = "\xEF\xBF\xBD";
  const struct {
    std::string text, json;
  } rows[] = {
      {"", ""},
      {"a/b'c", "a/b'c"},
      {"\"\\\n\r\t", "\\\"\\\\\\n\\r\\t"},
      {"\0\x1F\x7F"s, "\\u0000\\u001f\\u007f"},
      {"\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"},
      {"\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},
      {"\x80", no},
      {"\xC3", no},
      {"\xE2\x82", no + no},
      {"\xE2\x82x", no + no + "x"},
      {"\xC0\x80", no + no},                    // longer than needed
      {"\xE0\x9F\xBF", no + no + no},           // likewise
      {"\xED\xA0\x80", no + no + no},           // half of a pair
      {"\xF4\x90\x80\x80", no + no + no + no},  // beyond the last character
      {"\xF0\x8F\xBF\xBF", no + no + no + no},  // longer than needed
      {"\xFF\xC3\xA9", no + "\xC3\xA9"},
  };
  for (const auto& row : rows) {
    kyv::ByteBuffer out;
    kyv_internal::appendJsonString(std::string(row.text), out);
    EXPECT_EQ(out.view(), "\"" + row.json + "\"") << row.text;
  }
}

}  // namespace
