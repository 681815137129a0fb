#include "text_guess.h"

#include <gtest/gtest.h>

#include <string>

#include "kyv/data_types.h"

namespace kyv_internal {
namespace {

// "Id:long Name:string(1) | header quoted ; rows 3 bad 1@4", with the NULLs of a column in parentheses and the
// separator where it is no comma, then the notes.
std::string describe(const TextGuess::Result& result) {
  const SchemaFile& schema = result.schema;
  std::string out;
  for (std::size_t i = 0; i < schema.columns.size(); ++i) {
    out += schema.columns[i].name + ":" + DataTypes::typeToString(schema.columns[i].type);
    if (*schema.nulls[i] > 0) out += "(" + std::to_string(*schema.nulls[i]) + ")";
    out += " ";
  }
  out += "|";
  if (*schema.text.header) out += " header";
  if (*schema.text.quoted) out += " quoted";
  if (*schema.text.separator != ',') out += std::string(" ") + *schema.text.separator;
  if (schema.text.dateFormat) out += " " + *schema.text.dateFormat;
  out += " rows " + std::to_string(*schema.rows);
  if (result.badRows > 0) out += " bad " + std::to_string(result.badRows) + "@" + std::to_string(result.firstBadLine);
  for (const std::string& note : result.notes) out += "\n" + note;
  return out;
}

std::string guess(const std::string& text, const TextLayout& layout = {}) {
  TextGuess all(layout, text);
  all.addLines(text);
  const auto result = all.finish();
  const std::string whole = result ? describe(*result) : "none";

  TextGuess lineByLine(layout, text);
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
    lineByLine.addLines(std::string_view(text).substr(at, end - at));
    at = end;
  }
  const auto pieces = lineByLine.finish();
  EXPECT_EQ(pieces ? describe(*pieces) : "none", whole) << text;
  return whole;
}

TEST(TextGuess, FindsHeaderQuotesSeparatorAndTypes) {
  const struct {
    const char* text;
    const char* schema;
  } kCases[] = {
      {"", "none"},
      {"\n\n", "none"},
      {"Id,Name\n1,Ann\n2,\n", "Id:integer Name:string(1) | header rows 2"},
      {"Id,Name\r\n1,Ann\r\n", "Id:integer Name:string | header rows 1"},
      {"1,Ann\n2,Bob", "column_1:integer column_2:string | rows 2"},
      {"no,name\n1,a\n", "no:integer name:string | header rows 1"},
      {"2024,x\n1,2\n", "column_1:integer column_2:string | rows 2"},
      {"a,,a,a\n1,2,3,4\n",
       "a:integer column_2:integer a_2:integer a_3:integer | header rows 1\n"
       "column 3 is called \"a_2\": its name is that of an earlier one\n"
       "column 4 is called \"a_3\": its name is that of an earlier one"},
      {"a,a_2,a\n1,2,3\n",
       "a:integer a_2:integer a_3:integer | header rows 1\n"
       "column 3 is called \"a_3\": its name is that of an earlier one"},
      {"\xFC,\xF6\n1,2\n",
       "\xEF\xBF\xBD:integer \xEF\xBF\xBD_2:integer | header rows 1\n"
       "column 2 is called \"\xEF\xBF\xBD_2\": its name is that of an earlier one"},
      {"a,b\r\n\r\r\n1,2\r\n", "a:integer b:integer | header rows 1 bad 1@2"},
      {"a,b\nx,y\n",
       "a:string b:string | header rows 1\nthe first line is taken for column names (--no-header if it is a row)"},
      {"a,a\nx,y\n",
       "column_1:string column_2:string | rows 2\nthe first line is taken for a row (--header if it holds column "
       "names)"},
      {"a;b\n1,5;2\n3,5;4\n", "a:string b:integer | header ; rows 2"},
      {"a\tb\n1\t2\n", "a:integer b:integer | header \t rows 1"},
      {"a|b\n1|2\n", "a:integer b:integer | header | rows 1"},
      {"a\n1\n\n2\n", "a:integer(1) | header rows 3"},
      {"a,b\n1,2\n\n3,4\n\r\n", "a:integer b:integer | header rows 2"},
      {"a,b\n1,2,3\n1\n4,5\n", "a:integer b:integer | header rows 1 bad 2@2"},
      {"a,b\n1,\"x,y\"\n", "a:integer b:string | header quoted rows 1"},
      {"a,b\n1,\"x\ny\"\n2,z\n", "a:integer b:string | header quoted rows 2"},
      {"a,b\n\"1\",\"\"\n\"2\",\"x\"\n", "a:integer b:string | header quoted rows 2"},
      {"a,b\n\"1\",\"\"\n\"2\",\n", "a:integer b:string(1) | header quoted rows 2"},
      {"a,b\n1,\"\"\n2,3\n", "a:integer b:integer(1) | header quoted rows 2"},
      {"a,b\n1,5\"\n2,6\"\n", "a:integer b:string | header rows 2"},
      {"a,b\n1,\"5 inch\n2,6\n", "a:integer b:string | header rows 2"},
      {"a,b\n1,'x'\n",
       "a:integer b:string | header quoted rows 1\nfields in single quotes keep them (--no-quoted takes them off)"},
      {"d,e\n31/12/2024,1/2/2024\n", "d:date e:date | header %d/%m/%Y rows 1"},
      {"d\n1/2/2024\n",
       "d:date | header %m/%d/%Y rows 1\ncolumn \"d\": day and month cannot be told apart; taken as \"%m/%d/%Y\", "
       "could be \"%d/%m/%Y\" (--date-format says which)"},
      {"d\n3-4-2024\n",
       "d:date | header %d-%m-%Y rows 1\ncolumn \"d\": day and month cannot be told apart; taken as \"%d-%m-%Y\", "
       "could be \"%m-%d-%Y\" (--date-format says which)"},
      {"d,e\n2024-01-02,31.01.2024\n",
       "d:date e:string | header %Y-%m-%d rows 1\ncolumn \"e\" stays text: its dates are not written as \"%Y-%m-%d\", "
       "and a schema has one date format"},
  };
  for (const auto& row : kCases) EXPECT_EQ(guess(row.text), row.schema) << row.text;
  EXPECT_EQ(guess(std::string("a,b\n1,x\0\n2,y\n", 13)), "a:integer b:string | header rows 1 bad 1@2");
}

TEST(TextGuess, TakesTheUsersWord) {
  TextLayout layout;
  layout.header = false;
  EXPECT_EQ(guess("a,b\n1,2\n", layout), "column_1:string column_2:string | rows 2");
  layout.header = true;
  EXPECT_EQ(guess("1,2\n3,4\n", layout), "1:integer 2:integer | header rows 1");
  layout.separator = ';';
  EXPECT_EQ(guess("a,b\n1,2\n", layout), "a,b:string | header ; rows 1");
  layout = {};
  layout.quoted = false;
  EXPECT_EQ(guess("a,b\n1,\"2\"\n", layout), "a:integer b:integer | header rows 1");
  layout = {};
  layout.dateFormat = "%Y%m%d";
  EXPECT_EQ(guess("d,e\n20240131,1/2/2024\n", layout), "d:date e:string | header %Y%m%d rows 1");
}

TEST(TextGuess, LeavesOversizedLinesOut) {
  TextGuess guess({}, "a,b\n");
  guess.addLines("a,b\n1,2\n");
  guess.addOversizedLine(0, true);
  guess.addOversizedLine(1, false);
  guess.addLines("3,4\n5\n");
  const auto result = guess.finish();
  ASSERT_TRUE(result);
  EXPECT_EQ(describe(*result), "a:integer b:integer | header rows 2 bad 2@3");
}

}  // namespace
}  // namespace kyv_internal
