#include "value_guess.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "kyv/data_types.h"

namespace kyv_internal {
namespace {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> pieces;
  std::istringstream all(text);
  for (std::string piece; std::getline(all, piece, separator);) pieces.push_back(piece);
  return pieces;
}

// The type of a column of these texts, with the first format that fits all where it is one of dates or times.
std::string guess(const std::vector<std::string>& texts) {
  const ColumnFormats formats = {{FormatList::Kind::kDate, {}}, {FormatList::Kind::kTimestamp, {}}};
  ColumnGuess column(formats);
  for (const std::string& text : texts) column.add(text);
  for (std::size_t i = 0; i < formats.dates.size(); ++i) {
    if (column.dateFormats()[i]) return "date " + formats.dates[i];
  }
  for (std::size_t i = 0; i < formats.timestamps.size(); ++i) {
    if (column.timestampFormats()[i])
      return DataTypes::typeToString(column.timestampType()) + " " + formats.timestamps[i];
  }
  return DataTypes::typeToString(column.plainType());
}

// Columns parted by ";", whose texts are parted by "|", and their type.
struct Columns {
  const char *type, *columns;
};

void expectTypes(std::initializer_list<Columns> rows) {
  for (const Columns& row : rows) {
    for (const std::string& texts : split(row.columns, ';')) {
      EXPECT_EQ(guess(split(texts, '|')), row.type) << texts;
    }
  }
}

TEST(ValueGuess, TakesTheTypeThatLosesNothing) {
  EXPECT_EQ(guess({}), "string");
  expectTypes({
      {"integer", "1|-20|0;2147483647|-2147483648;0|1"},
      {"long", "2147483648;1|-9223372036854775808"},
      {"float", "1.5|2|-.5|5.|1e5|+1.5;0.5;1.5|9007199254740992"},
      {"boolean", "true|FALSE;true;Yes|no;on|off;y|N;t|f"},
      {"string",
       "9223372036854775808;1|007;-01;+49;1|x; 1;1 ;-;1,5;00.5;.;1.2.3;1e999;inf;nan;0x10;-+1.5;"
       "1.5|9007199254740993;N;true|yes;true|1;truex;tru"},
  });
}

TEST(ValueGuess, TakesDatesThatExist) {
  expectTypes({
      {"date %Y-%m-%d", "2024-02-29;2024-1-5"},
      {"date %d.%m.%Y", "31.12.2024"},
      {"date %m/%d/%Y", "1/2/2024|12/31/2024"},
      {"date %d/%m/%Y", "1/2/2024|31/12/2024"},
      {"date %m/%d/%y", "1/2/24"},
      {"date %d-%b-%Y", "31-Dec-2024"},
      {"date %d %b %Y", "31 may 2024"},
      {"date %d %B %Y", "31 December 2024"},
      {"integer", "20241231"},
      {"timestamp %Y-%m-%dT%H:%M:%S", "2024-01-31T10:20:30;2024-01-31T10:20:30.5Z"},
      {"timestamp %Y-%m-%d %H:%M:%S", "2024-01-31 10:20:30|2024-01-31 10:20:30.123"},
      {"bigdatetime %Y-%m-%d %H:%M:%S", "2024-01-31 10:20:30.1234"},
      {"timestamp %Y-%m-%d %H:%M", "2024-01-31 9:20"},
      {"timestamp %m/%d/%Y %I:%M %p", "1/31/2024 9:20 PM"},
      {"timestamp %Y-%m-%dT%H:%M:%SZ", "2024-01-31T10:20:30Z"},
      {"string",
       "2023-02-29;1900-02-29;2024-13-01;2024-00-01;24-01-31;2024-01-31 ;12/31/2024|31/12/2024;31 Decem 2024;"
       "2024-01-31 10:20:30.1234567;2024-01-31 10:20:30.;2024-01-31 10:20:30.x;2024-01-31 24:00:00;"
       "2024-01-31 10:20:60;2024-01-31T10:20:30+01:00;31.12.2024 10:20:30;2024-01-31|2024-01-31 10:20:30"},
  });
}

TEST(ValueGuess, CountsNullsByTheType) {
  const ColumnFormats formats = {{FormatList::Kind::kDate, {}}, {FormatList::Kind::kTimestamp, {}}};
  ColumnGuess column(formats);
  column.addEmpty(ColumnGuess::Empty::kNull);
  column.addEmpty(ColumnGuess::Empty::kText);
  EXPECT_EQ(column.nulls(DataTypes::kString), 1U);
  EXPECT_EQ(column.nulls(DataTypes::kLong), 2U);
  EXPECT_TRUE(column.dateFormats().none());
}

}  // namespace
}  // namespace kyv_internal
