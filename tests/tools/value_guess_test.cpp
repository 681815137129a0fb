#include "value_guess.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kyv/data_types.h"

namespace kyv_internal {
namespace {

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

TEST(ValueGuess, TakesTheTypeThatLosesNothing) {
  const struct {
    std::vector<std::string> texts;
    const char* type;
  } kCases[] = {
      {{}, "string"},
      {{"1", "-20", "0"}, "integer"},
      {{"2147483647", "-2147483648"}, "integer"},
      {{"2147483648"}, "long"},
      {{"1", "-9223372036854775808"}, "long"},
      {{"9223372036854775808"}, "string"},
      {{"1", "007"}, "string"},
      {{"-01"}, "string"},
      {{"+49"}, "string"},
      {{"1", "x"}, "string"},
      {{" 1"}, "string"},
      {{"1 "}, "string"},
      {{"-"}, "string"},
      {{"1,5"}, "string"},
      {{"1.5", "2", "-.5", "5.", "1e5", "+1.5"}, "float"},
      {{"00.5"}, "string"},
      {{"0.5"}, "float"},
      {{"."}, "string"},
      {{"1.2.3"}, "string"},
      {{"1e999"}, "string"},
      {{"inf"}, "string"},
      {{"nan"}, "string"},
      {{"0x10"}, "string"},
      {{"-+1.5"}, "string"},
      {{"1.5", "9007199254740992"}, "float"},
      {{"1.5", "9007199254740993"}, "string"},
      {{"0", "1"}, "integer"},
      {{"true", "FALSE"}, "boolean"},
      {{"true"}, "boolean"},
      {{"Yes", "no"}, "boolean"},
      {{"on", "off"}, "boolean"},
      {{"y", "N"}, "boolean"},
      {{"N"}, "string"},
      {{"t", "f"}, "boolean"},
      {{"true", "yes"}, "string"},
      {{"true", "1"}, "string"},
      {{"truex"}, "string"},
      {{"tru"}, "string"},
  };
  for (const auto& row : kCases) EXPECT_EQ(guess(row.texts), row.type) << testing::PrintToString(row.texts);
}

TEST(ValueGuess, TakesDatesThatExist) {
  const struct {
    std::vector<std::string> texts;
    const char* type;
  } kCases[] = {
      {{"2024-02-29"}, "date %Y-%m-%d"},
      {{"2023-02-29"}, "string"},
      {{"1900-02-29"}, "string"},
      {{"2024-13-01"}, "string"},
      {{"2024-00-01"}, "string"},
      {{"24-01-31"}, "string"},
      {{"2024-1-5"}, "date %Y-%m-%d"},
      {{"2024-01-31 "}, "string"},
      {{"31.12.2024"}, "date %d.%m.%Y"},
      {{"1/2/2024", "12/31/2024"}, "date %m/%d/%Y"},
      {{"1/2/2024", "31/12/2024"}, "date %d/%m/%Y"},
      {{"12/31/2024", "31/12/2024"}, "string"},
      {{"1/2/24"}, "date %m/%d/%y"},
      {{"31-Dec-2024"}, "date %d-%b-%Y"},
      {{"31 may 2024"}, "date %d %b %Y"},
      {{"31 December 2024"}, "date %d %B %Y"},
      {{"31 Decem 2024"}, "string"},
      {{"20241231"}, "integer"},
      {{"2024-01-31T10:20:30"}, "timestamp %Y-%m-%dT%H:%M:%S"},
      {{"2024-01-31 10:20:30", "2024-01-31 10:20:30.123"}, "timestamp %Y-%m-%d %H:%M:%S"},
      {{"2024-01-31 10:20:30.1234"}, "bigdatetime %Y-%m-%d %H:%M:%S"},
      {{"2024-01-31 10:20:30.1234567"}, "string"},
      {{"2024-01-31 10:20:30."}, "string"},
      {{"2024-01-31 10:20:30.x"}, "string"},
      {{"2024-01-31 24:00:00"}, "string"},
      {{"2024-01-31 10:20:60"}, "string"},
      {{"2024-01-31 9:20"}, "timestamp %Y-%m-%d %H:%M"},
      {{"1/31/2024 9:20 PM"}, "timestamp %m/%d/%Y %I:%M %p"},
      {{"2024-01-31T10:20:30Z"}, "timestamp %Y-%m-%dT%H:%M:%SZ"},
      {{"2024-01-31T10:20:30.5Z"}, "timestamp %Y-%m-%dT%H:%M:%S"},
      {{"2024-01-31T10:20:30+01:00"}, "string"},
      {{"31.12.2024 10:20:30"}, "string"},
      {{"2024-01-31", "2024-01-31 10:20:30"}, "string"},
  };
  for (const auto& row : kCases) EXPECT_EQ(guess(row.texts), row.type) << testing::PrintToString(row.texts);
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
