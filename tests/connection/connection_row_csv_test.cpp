#include "kyv/connection_row_csv.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kyv/connection_row_by_order.h"
#include "kyv/data_types.h"
#include "tests/support/appended_lines.h"
#include "tests/support/bytes.h"
#include "tests/support/row_text.h"
#include "tests/support/test_schema.h"

namespace {

using enum DataTypes::TypeEnum;
using kyv_test::fieldsOf;
using kyv_test::HandRecord;
using kyv_test::takeHex;
using kyv_test::TestSchema;
using kyv_test::toHex;

TestSchema threeColumns() { return TestSchema(kyv_test::columnsOf("integer string float")); }

// The operation and fields of a record, read back; or the message. Frees the record.
std::string shown(void* record, ConnectionRowType& schema, const ConnectionErrors& errors) {
  if (record == nullptr) return errors.report();
  ConnectionRowByOrder reader;
  ConnectionErrors none;
  reader.setStreamType(&schema, false);
  EXPECT_TRUE(reader.fromRow(record, 1, &none)) << none.report();
  EXPECT_STREQ(reader.getFlagsAsString(), "") << "a line has no flags";
  std::free(record);
  return reader.getOp() + (" " + fieldsOf(reader));
}

TEST(ConnectionRowCsv, WritesARecordToTheLastByte) {
  TestSchema schema = threeColumns();
  ConnectionRowCsv row;
  row.setStreamType(&schema, false);
  const std::string expected = HandRecord{7, 5, 0, 3, {36, 40, 44, 52}, "01000000 61626300 0000000000000440"}.bytes();
  char line[] = "1,abc,2.5\r\n";
  ConnectionErrors errors;
  row.setBuffer(line);
  EXPECT_EQ(takeHex(row.toRow(1, &errors)), toHex(expected));
  row.setBuffer(line);
  EXPECT_EQ(takeHex(row.toRow(nullptr, 1, errors)), toHex(expected));
  kyv::ByteBuffer out;
  out.append("> ");
  EXPECT_TRUE(row.appendRow(line, 1, errors, out));
  EXPECT_EQ(out.view(), "> " + expected);
  EXPECT_STREQ(line, "1,abc,2.5\r\n");
  EXPECT_TRUE(errors.empty());
}

TEST(ConnectionRowCsv, ReadsLinesOrSaysWhyNot) {
  enum Service : bool { Plain = false, WithService = true };
  TestSchema schema = threeColumns();
  const struct {
    Service service;
    const char *line, *expected;
    int column = -1;
  } rows[] = {
      {Plain, "1,abc,2.5", "p 1,abc,2.500000"},
      {Plain, "1,,3\n", "p 1,-,3.000000"},
      {Plain, "1,'',\"\"\r", "p 1,-,-"},
      {Plain, "'1',\"a;b\",'3'", "p 1,a;b,3.000000"},
      {Plain, ",',", "p -,',-"},
      {Plain, ",,", "p -,-,-"},
      {Plain, "\n", "record 4: not enough fields for stream 'Trades', only 1, need 3"},
      {Plain, "1,2", "record 4: not enough fields for stream 'Trades', only 2, need 3"},
      {Plain, "1,'a,b',3", "record 4: too many fields for stream 'Trades', need only 3"},
      {Plain, "1,2,3,", "record 4: too many fields for stream 'Trades', need only 3"},
      {Plain, "x,,",
       "record 4: Error converting data 'x'->INTEGER for Stream 'Trades' Column 'A': "
       "integer constant does not begin with a legal character",
       0},
      {Plain, "1,,'y'",
       "record 4: Error converting data 'y'->FLOAT for Stream 'Trades' Column 'C': "
       "float constant does not begin with a legal character",
       2},
      {WithService, "Trades,i,1,2,3", "i 1,2,3.000000"},
      {WithService, "any name at all,Delete,1,2,3", "d 1,2,3.000000"},
      {WithService, ",u,1,2,3", "u 1,2,3.000000"},
      {WithService, "Trades", "record 4: contains no stream name"},
      {WithService, "", "record 4: contains no stream name"},
      {WithService, "Trades,", "record 4: unknown operation '?', not i/u/d/p"},
      {WithService, "Trades,,1,2,3", "record 4: unknown operation ',', not i/u/d/p"},
      {WithService, "Trades,x,1", "record 4: unknown operation 'x', not i/u/d/p"},
      {WithService, "Trades,'i',1,2,3", "record 4: unknown operation ''', not i/u/d/p"},
      {WithService, "Trades,i", "record 4: not enough fields for stream 'Trades', only 0, need 3"},
      {WithService, "Trades,i,", "record 4: not enough fields for stream 'Trades', only 1, need 3"},
      {WithService, "Trades,i,1,2,3,4", "record 4: too many fields for stream 'Trades', need only 3"},
  };
  for (const auto& r : rows) {
    for (const char separator : {',', ';', '\x01'}) {  // every case with other separators as well
      if (separator == ';' && std::strchr(r.line, ';') != nullptr) continue;
      std::string line = r.line, expected = r.expected;
      std::replace(line.begin(), line.end(), ',', separator);
      if (expected.find("'a,b'") == expected.npos && expected.find("operation ','") != expected.npos) {
        expected.replace(expected.find("','") + 1, 1, 1, separator == '\x01' ? '?' : separator);
      }
      ConnectionRowCsv row;
      row.setStreamType(&schema, false);
      row.setSeparator(separator);
      row.setWithService(r.service);
      ConnectionErrors errors, more;
      row.setBuffer(line.data());
      EXPECT_EQ(shown(row.toRow(4, &errors), schema, errors), expected) << r.line;
      EXPECT_EQ(row.failedColumn(), r.column) << r.line;
      kyv::ByteBuffer out;
      out.append("> ");
      EXPECT_EQ(row.appendRow(line, 4, more, out), errors.empty());
      EXPECT_EQ(more.report(), errors.report());
      EXPECT_EQ(out.size() == 2, !errors.empty());
    }
  }
}

TEST(ConnectionRowCsv, LooksForTheStreamNameBeforeItsSchema) {
  ConnectionRowCsv row;
  ConnectionErrors errors;
  char bare[] = "Trades", named[] = "Trades,x";
  row.setWithService(true);
  for (char* line : {bare, named}) {
    row.setBuffer(line);
    EXPECT_EQ(row.toRow(1, &errors), nullptr);
  }
  EXPECT_EQ(errors.report(), "record 1: contains no stream name\nrecord 1: no stream specified");
}

TEST(ConnectionRowCsv, ConvertsALineOnceAndLeavesItAltered) {
  TestSchema schema({{"A", kString}, {"B", kString}});
  ConnectionRowCsv row;
  row.setStreamType(&schema, false);
  row.setWithService(true);
  char* const buffer = row.allocBuffer(32);
  std::strcpy(buffer, "Trades,i,'a',b\r\n");
  ConnectionErrors errors;
  EXPECT_EQ(shown(row.toRow(1, &errors), schema, errors), "i a,b");
  EXPECT_EQ(std::string(buffer, 17), std::string("Trades\0i,'a\0,b\0\n\0", 17));
  EXPECT_EQ(row.toRow(2, &errors), nullptr);
  EXPECT_EQ(errors.report(), "record 2: contains no stream name");
}

TEST(ConnectionRowCsv, KeepsItsBufferWhileItIsLargeEnough) {
  TestSchema schema({{"A", kString}});
  ConnectionRowCsv row;
  row.setStreamType(&schema, false);
  ConnectionErrors errors;
  EXPECT_EQ(row.toRow(1, &errors), nullptr);
  EXPECT_EQ(errors.report(), "") << "no line, no message";
  char* const buffer = row.allocBuffer(8);
  EXPECT_EQ(row.allocBuffer(8), buffer);
  EXPECT_EQ(row.allocBuffer(3), buffer);
  std::memcpy(buffer, "ABCDEFGH", 8);
  EXPECT_EQ(shown(row.toRow(1, &errors), schema, errors), "p ABCDEFGH") << "ends with its buffer at the latest";
  char shorter[] = "abc";
  row.setBuffer(shorter);
  EXPECT_STREQ(buffer, "abc");
  row.setBuffer(buffer + 1);
  EXPECT_STREQ(buffer, "bc") << "a line may come from the buffer";
  row.clearData();
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(row.allocBuffer(8), buffer);
  EXPECT_EQ(shown(row.toRow(1, &errors), schema, errors), "p -");
  row.setBuffer(nullptr);
  EXPECT_EQ(row.toRow(1, &errors), nullptr);
  row.clear();
  EXPECT_EQ(row.getStreamType(), nullptr);
  EXPECT_EQ(errors.report(), "");
}

TEST(ConnectionRowCsv, SeesWhatOthersWriteToTheBufferThatTheyWereGiven) {
  TestSchema schema({{"A", kString}});
  ConnectionRowCsv row;
  row.setStreamType(&schema, false);
  char* const buffer = row.allocBuffer(8);
  char line[] = "abcdef", longer[] = "abcdefghijkl";
  ConnectionErrors errors;
  row.setBuffer(line);
  std::strcpy(buffer, "xy");
  EXPECT_EQ(shown(row.toRow(1, &errors), schema, errors), "p xy");
  std::strcpy(buffer, "xyz");
  EXPECT_EQ(shown(row.toRow(1, &errors), schema, errors), "p xyz");
  row.setBuffer(longer);
  EXPECT_EQ(shown(row.toRow(1, &errors), schema, errors), "p abcdefghijkl");
  row.setBuffer(line);
  row.clearData();
  EXPECT_EQ(shown(row.toRow(1, &errors), schema, errors), "p -");
}

std::string joined(const std::vector<std::string>& texts) {
  std::string line;
  for (const std::string& text : texts) line += (&text == texts.data() ? "" : ",") + text;
  return line;
}

// Lines without quotes take a shorter way than those with; both must give what the fields give by themselves.
TEST(ConnectionRowCsv, ConvertsALineLikeItsFields) {
  TestSchema schema({{"A", kLong},
                     {"B", kString},
                     {"C", kFloat},
                     {"D", kMoney2},
                     {"E", kBoolean},
                     {"F", kBinary},
                     {"G", kTimestamp},
                     {"H", kString}});
  ConnectionRowCsv row;
  ConnectionRowByOrder fields;
  row.setStreamType(&schema, false);
  fields.setStreamType(&schema, false);
  std::mt19937 random(1);
  const auto pick = [&](std::vector<std::string> texts) { return texts[random() % texts.size()]; };
  for (int i = 0; i < 4'000; ++i) {
    const std::string name(random() % 40, 'n');
    const std::string note(i % 50 == 0 ? 1500 + random() % 400 : random() % 20, 'x');
    const std::vector<std::string> texts = {
        pick({"", "1", "-22", "1234567890", "12345678901234567", "9223372036854775807", "1x"}),
        name,
        pick({"", "1.5", ".25", "12345678.5", "-1e9", "0.1234567890123456789"}),
        pick({"", "1", "100.00", "-123456789.5", "1.239"}),
        pick({"", "true", "false", "no", "TRUE"}),
        pick({"", "00FF", "a1B2c3"}),
        pick({"", "2009-02-13 23:31:30", "2009-02-13 23:31:30.123"}),
        note};
    fields.clearData();
    for (const std::string& text : texts) fields.appendFieldAsString(text.empty() ? nullptr : text.c_str());
    ConnectionErrors expectedErrors, errors;
    const std::string expected = takeHex(fields.toRow(1, &expectedErrors));
    std::vector<std::string> quoted = texts;
    quoted.back() = '"' + note + '"';
    for (std::string line : {joined(texts), joined(quoted)}) {
      kyv::ByteBuffer out;
      ASSERT_EQ(row.appendRow(line, 1, errors, out), expected != "null") << line;
      ASSERT_EQ(toHex(out.view()), expected == "null" ? "" : expected) << line;
      row.setBuffer(line.data());
      ASSERT_EQ(takeHex(row.toRow(1, &errors)), expected) << line;
    }
    EXPECT_EQ(errors.size(), 4 * expectedErrors.size());
  }
}

TEST(ConnectionRowCsv, NewRowsHaveTheSeparatorAndTheService) {
  TestSchema schema({{"A", kString}, {"B", kTime}});
  ConnectionRowCsv row;
  row.setStreamType(&schema, false);
  row.setSeparator(';');
  row.setWithService(true);
  row.setTimeFormat("%Hh");
  const std::unique_ptr<ConnectionRow> copy(row.createNew());
  char line[] = "Trades;u;a,b;07h";
  copy->setBuffer(line);
  ConnectionErrors errors;
  EXPECT_EQ(shown(copy->toRow(1, &errors), schema, errors), "u a,b,07:00:00");
}

// Lines of every kind, near to and far from the text's ends, shorter and longer than what is looked at at once.
TEST(ConnectionRowCsv, ConvertsManyLinesAsOneByOne) {
  const std::string lines[] = {"1,abc,2.5",
                               "-7,,",
                               ",,",
                               "12,x,0.125\r",
                               "1,'abc',2.5",
                               "x,abc,1",
                               "1,abc",
                               "1,abc,2.5,",
                               "",
                               "\r",
                               "5,a\r,1\r\r",
                               "3,\",',1e5",
                               std::string("1,a\0b,2", 7),
                               "2, b ,  2.5 ",
                               "\xFF,\xFE,",
                               std::string(300, ','),
                               std::string("4,abc,2.5\r\0", 11),
                               "a,1",
                               "x,1,abc,2.5",
                               "1",
                               "x",
                               "8," + std::string(200, 'y') + ",1.25",
                               "9," + std::string(1022, 'z') + ",1",
                               "9," + std::string(1100, 'z') + ",1",
                               "9," + std::string(3000, 'z') + ",1"};
  std::mt19937 random(11);
  for (int round = 0; round < 2000; ++round) {
    std::string text;
    const bool mostlyUsual = round % 2 == 0;
    for (std::size_t i = random() % 40; i > 0; --i) {
      text += lines[mostlyUsual && random() % 16 != 0 ? random() % 4 : random() % std::size(lines)] + "\n";
    }
    if (random() % 2 == 0 && !text.empty()) text.pop_back();
    TestSchema schema(kyv_test::columnsOf(round % 3 == 0 ? "string" : "integer string float"));
    ConnectionRowCsv row;
    row.setStreamType(&schema, false);
    const std::size_t mostBytes = random() % 4 == 0 ? 1 + random() % 500 : std::string::npos;
    ASSERT_EQ(kyv_test::appendManyAtOnce(row, text, mostBytes), kyv_test::appendOneByOne(row, text)) << text;
  }
}

TEST(ConnectionRowCsv, ConvertsManyLinesWithAnySettings) {
  std::string text;
  for (int i = 0; i < 20; ++i) text += "Trades,u,1,abc,2.5\nTrades,d,2,,\n1,abc,2.5\n";
  for (const bool withService : {false, true}) {
    for (const char separator : {',', '\n', '\r', '\0', 'a'}) {
      TestSchema schema = threeColumns();
      ConnectionRowCsv row;
      row.setWithService(withService);
      row.setSeparator(separator);
      EXPECT_EQ(kyv_test::appendManyAtOnce(row, text), kyv_test::appendOneByOne(row, text)) << "without a schema";
      row.setStreamType(&schema, false);
      EXPECT_EQ(kyv_test::appendManyAtOnce(row, text), kyv_test::appendOneByOne(row, text)) << withService << separator;
    }
  }
}

}  // namespace
