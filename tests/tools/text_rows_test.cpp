#include "text_rows.h"

#include <gtest/gtest.h>

#include <string>

#include "framing.h"
#include "kyv/data_types.h"
#include "record_header.h"
#include "record_rows.h"

namespace kyv_internal {
namespace {

const kyv::StreamSchema& schema() {
  static const kyv::StreamSchema kSchema(
      "S", 1, {{"id", DataTypes::kInteger}, {"name", DataTypes::kString}, {"price", DataTypes::kFloat}});
  return kSchema;
}

TextLayout layoutOf(bool quoted, bool service = false, char separator = ',') {
  TextLayout layout;
  layout.quoted = quoted;
  layout.service = service;
  layout.separator = separator;
  return layout;
}

std::string print(std::string_view records, const TextLayout& layout) {
  ConvertedBlock out;
  makeRecordRows(schema(), layout, PrintForm::kDelimited, columnsOf(schema()))->convert(records, FirstLine::kRow, out);
  EXPECT_TRUE(out.badRows.empty());
  return std::string(out.output.view());
}

// The good rows as printed, then each bad row as "line: message [field]", then the counts of rows, blanks and lines.
std::string convert(const std::string& text, const TextLayout& layout, FirstLine first = FirstLine::kRow) {
  const auto rows = makeTextRows(std::make_shared<TextRowPools>(schema(), layout));
  ConvertedBlock block;
  rows->convert(text, first, block);
  std::string out = print(block.output.view(), layout);
  for (const BadRow& bad : block.badRows) {
    const std::string row = text.substr(bad.begin, bad.size);
    const RowFault fault = rows->explain(row, bad.row + 1);
    out += std::to_string(bad.line + 1) + ": " + fault.message;
    if (fault.column >= 0) out += " [" + row.substr(fault.fieldBegin, fault.fieldEnd - fault.fieldBegin) + "]";
    out += "\n";
  }
  return out + std::to_string(block.rows) + "/" + std::to_string(block.blankLines) + "/" + std::to_string(block.lines);
}

constexpr char kBadId[] = "Error converting data 'x'->INTEGER for Stream 'S' Column 'id': ";
const std::string kNoLegalStart = "integer constant does not begin with a legal character";

TEST(TextRows, ConvertsPlainLines) {
  const struct {
    const char* text;
    std::string result;
  } kCases[] = {
      {"1,a,2.5\n2,,\n", "1,a,2.5\n2,,\n2/0/2"},
      {"1,a,2.5\r\n\r\n2,'b',1", "1,a,2.5\n2,b,1.0\n2/1/3"},
      {"1,\"\",2\n", "1,,2.0\n1/0/1"},
      {"1,a,2\nx,b,3\n4,c,5\n",
       "1,a,2.0\n4,c,5.0\n2: record 2: " + std::string(kBadId) + kNoLegalStart + " [x]\n3/0/3"},
      {"1,a,y\r\n",
       "1: record 1: Error converting data 'y'->FLOAT for Stream 'S' Column 'price': float constant does "
       "not begin with a legal character [y]\n1/0/1"},
      {"1,a\n", "1: record 1: not enough fields for stream 'S', only 2, need 3\n1/0/1"},
      {"1,a,2,3\n", "1: record 1: too many fields for stream 'S', need only 3\n1/0/1"},
  };
  for (const auto& row : kCases) EXPECT_EQ(convert(row.text, layoutOf(false)), row.result) << row.text;
}

TEST(TextRows, ConvertsQuotedRecords) {
  const struct {
    const char* text;
    std::string result;
  } kCases[] = {
      {"1,\"a,b\",2.5\n2,\"\",\n3,,\"\"\n", "1,\"a,b\",2.5\n2,\"\",\n3,,\n3/0/3"},
      {"1,'b',1\n", "1,'b',1.0\n1/0/1"},
      {"1,\"a\nb\",1\n\nx,c,1\n",
       "1,\"a\nb\",1.0\n4: record 2: " + std::string(kBadId) + kNoLegalStart + " [x]\n2/1/4"},
      {"\"x\",\"q\",1\n", "1: record 1: " + std::string(kBadId) + kNoLegalStart + " [\"x\"]\n1/0/1"},
      {"1,\"a\"b,1\n2,c,1\n", "2,c,1.0\n1: record 1: a quoted field goes on after its closing quote [\"a\"]\n2/0/2"},
      {"1,\"a,1\n2,c,1\n",
       "1: record 1: a quoted field is not closed before the end of the data [\"a,1\n2,c,1\n]\n1/0/2"},
      {"1,\"a\"\n", "1: record 1: wrong number fields for stream 'S', have 2, need 3\n1/0/1"},
      {"1,\"a\",2,3\n", "1: record 1: wrong number fields for stream 'S', have 4, need 3\n1/0/1"},
  };
  for (const auto& row : kCases) EXPECT_EQ(convert(row.text, layoutOf(true)), row.result) << row.text;
}

TEST(TextRows, ReadsStreamNameAndOperation) {
  for (const bool quoted : {false, true}) {
    const TextLayout layout = layoutOf(quoted, true, ';');
    EXPECT_EQ(convert("S;i;1;a;2\nS;D;2;b;3\n", layout), "S;i;1;a;2.0\nS;d;2;b;3.0\n2/0/2") << quoted;
    EXPECT_EQ(convert("S\n", layout), "1: record 1: contains no stream name\n1/0/1") << quoted;
    EXPECT_EQ(convert("S;z;1;a;2\n", layout), "1: record 1: unknown operation 'z', not i/u/d/p\n1/0/1") << quoted;
    EXPECT_EQ(convert("S;i;x;a;2\n", layout), "1: record 1: " + std::string(kBadId) + kNoLegalStart + " [x]\n1/0/1");
  }
  EXPECT_EQ(convert("\"S\";\"u\";\"x\";a;2\n", layoutOf(true, true, ';')),
            "1: record 1: " + std::string(kBadId) + kNoLegalStart + " [\"x\"]\n1/0/1");
}

TEST(TextRows, RefusesNulBytes) {
  for (const bool quoted : {false, true}) {
    EXPECT_EQ(
        convert(std::string("1,a\0b,2\nx,c,3\n", 14), layoutOf(quoted)),
        "1: record 1: the line holds a NUL byte\n2: record 2: " + std::string(kBadId) + kNoLegalStart + " [x]\n2/0/2");
  }
  EXPECT_EQ(convert(std::string("1,\"\0\",2\n", 8), layoutOf(true)), "1: record 1: the line holds a NUL byte\n1/0/1");
}

TEST(TextRows, SkipsTheHeader) {
  EXPECT_EQ(convert("\n\r\nid,name,price\n1,a,2\n", layoutOf(false), FirstLine::kHeader), "1,a,2.0\n1/2/4");
  EXPECT_EQ(convert("id,name,price\n1,a,2\n", layoutOf(false), FirstLine::kHeader), "1,a,2.0\n1/0/2");
  EXPECT_EQ(convert("\"id\n\",name,price\n1,a,2\n", layoutOf(true), FirstLine::kHeader), "1,a,2.0\n1/0/3");
}

TEST(TextRows, TakesABlankLineForANullInASingleColumn) {
  const kyv::StreamSchema one("S", 1, {{"name", DataTypes::kString}});
  for (const bool quoted : {false, true}) {
    ConvertedBlock block;
    makeTextRows(std::make_shared<TextRowPools>(one, layoutOf(quoted)))->convert("a\n\n", FirstLine::kRow, block);
    EXPECT_EQ(block.rows, 2U);
    EXPECT_EQ(block.blankLines, 0U);
  }
}

TEST(RecordRows, RefusesRecordsOfAnotherSchema) {
  ConvertedBlock records;
  makeTextRows(std::make_shared<TextRowPools>(schema(), layoutOf(false)))->convert("1,a,2\n", FirstLine::kRow, records);
  const kyv::StreamSchema other("S", 1, {{"name", DataTypes::kString}});
  const auto rows = makeRecordRows(other, {}, PrintForm::kJson, columnsOf(other));
  ConvertedBlock out;
  rows->convert(records.output.view(), FirstLine::kRow, out);
  ASSERT_EQ(out.badRows.size(), 1U);
  EXPECT_EQ(rows->explain(records.output.view(), 7).message, "record 7: has 3 columns, the schema has 1");
}

TEST(RecordRows, QuotesNamesInTheHeaderLine) {
  const std::vector<kyv::RecordPrinter::Column> names = {{0, "a;b"}, {1, "say \"x\""}, {-1, "c"}};
  EXPECT_EQ(headerLine(names, layoutOf(false, false, ';')), "\"a;b\";\"say \"\"x\"\"\";c\n");
  EXPECT_EQ(headerLine(names, layoutOf(false, true)), "stream,operation,a;b,\"say \"\"x\"\"\",c\n");
}

}  // namespace
}  // namespace kyv_internal
