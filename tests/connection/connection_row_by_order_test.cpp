#include "kyv/connection_row_by_order.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "kyv/data_types.h"
#include "kyv/stream_schema.h"
#include "tests/support/bytes.h"
#include "tests/support/hostile_records.h"
#include "tests/support/row_text.h"
#include "tests/support/test_schema.h"

namespace {

using enum DataTypes::TypeEnum;
using kyv_test::columnsOf;
using kyv_test::exactly;
using kyv_test::fieldsOf;
using kyv_test::HandRecord;
using kyv_test::takeHex;
using kyv_test::TestSchema;
using kyv_test::toHex;

// Fields parted by commas, "-" for a null one.
void setFields(ConnectionRow& row, const std::string& fields) {
  row.clearData();
  std::istringstream texts(fields + ",");
  for (std::string text; std::getline(texts, text, ',');) row.appendFieldAsString(text == "-" ? nullptr : text.c_str());
}

// What fromRow makes of a record in exactly its memory: operation, flags and fields, or the message. Both ways agree.
std::string read(ConnectionRowByOrder& row, const std::string& record) {
  auto memory = exactly(record);
  ConnectionErrors errors, more;
  const bool done = row.fromRow(memory.data(), 3, &errors);
  const std::string text = row.getOp() + std::string(row.getFlagsAsString()) + " " + fieldsOf(row);
  EXPECT_EQ(row.fromRow(memory.data(), nullptr, 3, more), done);
  EXPECT_EQ(text, row.getOp() + std::string(row.getFlagsAsString()) + " " + fieldsOf(row));
  EXPECT_EQ(errors.report(), more.report());
  EXPECT_EQ(done, errors.empty());
  EXPECT_TRUE(done || text == "p ") << "a failed conversion leaves an empty row, not " << text;
  return done ? text : errors.report();
}

// --- Fields ---------------------------------------------------------------------------------------------------------

TEST(ConnectionRowByOrder, KeepsFieldsByPosition) {
  ConnectionRowByOrder row;
  EXPECT_FALSE(row.setFieldAsString(-1, "x"));
  EXPECT_EQ(row.size(), 0);
  EXPECT_TRUE(row.setFieldAsString(5, "five"));
  EXPECT_EQ(fieldsOf(row), "-,-,-,-,-,five");
  EXPECT_TRUE(row.setFieldAsString(0, std::string("a text longer than what was allocated for a short one")));
  EXPECT_TRUE(row.appendFieldAsString(std::string("six")));
  EXPECT_TRUE(row.appendFieldAsString(static_cast<const char*>(nullptr)));
  EXPECT_TRUE(row.setFieldAsString(5, static_cast<const char*>(nullptr)));
  EXPECT_TRUE(row.setFieldAsString(1, ""));
  EXPECT_EQ(fieldsOf(row), "a text longer than what was allocated for a short one,,-,-,-,-,six,-");

  std::string text = "former";
  EXPECT_TRUE(row.getFieldAsString(6, text));
  EXPECT_EQ(text, "six");
  for (const int index : {5, 8, 1000}) {
    const char* chars = "former";
    text = "former";
    EXPECT_FALSE(row.getFieldAsString(index, &chars));
    EXPECT_EQ(chars, nullptr);
    EXPECT_FALSE(row.getFieldAsString(index, text));
    EXPECT_EQ(text, "");
  }
  const char* own = nullptr;
  row.getFieldAsString(0, &own);
  EXPECT_TRUE(row.setFieldAsString(0, own + 2));
  EXPECT_TRUE(row.setFieldAsString(40, own));
  EXPECT_TRUE(row.getFieldAsString(40, text));
  EXPECT_EQ(text, "text longer than what was allocated for a short one") << "a field may be set from another";
}

TEST(ConnectionRowByOrder, ForgetsItsDataAndIsAnUpsertAgain) {
  ConnectionRowByOrder row;
  EXPECT_EQ(row.getOp(), 'p');
  EXPECT_STREQ(row.getFlagsAsString(), "");
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(row.setFieldAsString(2, "x"));
    EXPECT_EQ(fieldsOf(row), "-,-,x") << "nothing of the round before";
    setFields(row, "a," + std::string(10000, 'b'));
    row.setOp('?');
    EXPECT_TRUE(row.setFlagsAsString("sx"));
    EXPECT_TRUE(row.setFlagsAsString(row.getFlagsAsString()));
    EXPECT_STREQ(row.getFlagsAsString(), "sx");
    EXPECT_EQ(row.getOp(), '?');
    row.clearData();
    EXPECT_EQ(row.size(), 0);
    EXPECT_EQ(row.getOp(), 'p');
    EXPECT_STREQ(row.getFlagsAsString(), "");
  }
  TestSchema schema({});
  row.setStreamType(&schema, false);
  row.setFieldAsString(0, "x");
  row.clear();
  EXPECT_EQ(row.size(), 0);
  EXPECT_EQ(row.getStreamType(), nullptr);
}

// --- To a record ----------------------------------------------------------------------------------------------------

TEST(ConnectionRowByOrder, WritesARecordToTheLastByteAndMayDoSoAgain) {
  TestSchema schema(columnsOf("int16 string date binary money(2) string decimal(10,2) boolean no-type"));
  ConnectionRowByOrder row;
  row.setStreamType(&schema, false);
  setFields(row, "-2,ab,-,aBcd,1.5,,1.5,on,-");
  row.setFlagsAsString("sx");
  const std::string payload =
      "feff 616200 00000002abcd 9600000000000000 00 0000000000000000 9600000000000000 020a 000000000000 01";
  const HandRecord expected{7, 5, 1, 9, {60, 62, 0, 65, 71, 79, 80, 104, 0, 105}, payload};
  ConnectionErrors errors;
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(takeHex(row.toRow(1, &errors)), toHex(expected.bytes()));
    EXPECT_EQ(takeHex(row.toRow(nullptr, 1, errors)), toHex(expected.bytes()));
  }
  kyv::ByteBuffer out;
  out.append("> ");
  EXPECT_TRUE(row.appendRow(1, errors, out));
  EXPECT_EQ(out.view(), "> " + expected.bytes());
  EXPECT_TRUE(errors.empty());
}

TEST(ConnectionRowByOrder, WritesTheOperationAndTheFlag) {
  TestSchema schema({});
  ConnectionRowByOrder row;
  row.setStreamType(&schema, false);
  ConnectionErrors errors;
  const struct {
    char letter;
    const char* flags;
    int operation;
    unsigned int word;
  } rows[] = {{'i', nullptr, 1, 0}, {'U', "", 3, 0}, {'d', "s", 5, 1}, {'P', "sus", 7, 1}};
  for (const auto& r : rows) {
    row.setOp(r.letter);
    row.setFlagsAsString(r.flags);
    EXPECT_EQ(takeHex(row.toRow(1, &errors)), toHex(HandRecord{r.operation, 5, r.word, 0, {24}, ""}.bytes()));
  }
  EXPECT_EQ(errors.report(), "");
}

TEST(ConnectionRowByOrder, RefusesInAFixedOrderOfChecks) {
  TestSchema schema(columnsOf("integer date timestamp no-type"));
  const struct {
    bool stream;
    char letter;
    const char* flags;
    const char *fields, *message;
    int column;
  } rows[] = {
      {false, 'x', "x", "1", "record 9: no stream specified", -1},
      {true, 'x', "x", "1", "record 9: unknown operation 'x', not i/u/d/p", -1},
      {true, 'p', "x", "1", "record 9: unknown flag 'x', only \"s\"(shine through) supported", -1},
      {true, 'p', "\ns", "1", "record 9: unknown flag '?', only \"s\"(shine through) supported", -1},
      {true, 'p', "s", "1,-,-", "record 9: wrong number fields for stream 'Trades', have 3, need 4", -1},
      {true, 'p', "", "-,-,-,-,-", "record 9: wrong number fields for stream 'Trades', have 5, need 4", -1},
      {true, 'p', "", "1.5,x,-,-",
       "record 9: Error converting data '1.5'->INTEGER for Stream 'Trades' Column 'A': integer constant does not end "
       "with a legal character",
       0},
      {true, 'p', "", "1,2009-02-13,-,-",
       "record 9: Error converting data '2009-02-13'->DATE for Stream 'Trades' Column 'B': date constant does not "
       "match format",
       1},
      {true, 'p', "", "1,-,,-",
       "record 9: Error converting data ''->TIMESTAMP for Stream 'Trades' Column 'C': timestamp constant does not "
       "match format",
       2},
      {true, 'p', "", "1,-,-,x",
       "record 9: Error converting data 'x'->UNKNOWN for Stream 'Trades' Column 'D': conversion to unknown type", 3},
  };
  for (const auto& r : rows) {
    ConnectionRowByOrder row;
    row.setStreamType(r.stream ? &schema : nullptr, false);
    setFields(row, r.fields);
    row.setOp(r.letter);
    row.setFlagsAsString(r.flags);
    ConnectionErrors errors, more;
    EXPECT_EQ(row.toRow(9, &errors), nullptr);
    EXPECT_EQ(errors.report(), r.message);
    EXPECT_EQ(row.failedColumn(), r.column) << r.message;
    kyv::ByteBuffer out;
    out.append("> ");
    EXPECT_FALSE(row.appendRow(9, more, out));
    EXPECT_EQ(out.view(), "> ");
    EXPECT_EQ(more.report(), r.message);
    EXPECT_EQ(fieldsOf(row), r.fields) << "the fields stay";
  }
}

TEST(ConnectionRowByOrder, TimestampFormatServesBigDateTimesToo) {
  TestSchema schema(columnsOf("date timestamp bigdatetime time"));
  ConnectionRowByOrder row;
  row.setStreamType(&schema, false);
  row.setDateFormat("%d.%m.%Y");
  row.setTimestampFormat("%s");
  row.setTimeFormat("%Hh%M");
  setFields(row, "02.01.1970,7.5,-7.5,01h01");
  const std::unique_ptr<ConnectionRow> copy(row.createNew());
  EXPECT_EQ(copy->size(), 0) << "a new row has the settings, not the fields";
  setFields(*copy, "02.01.1970,7.5,-7.5,01h01");
  ConnectionErrors errors;
  const std::string payload = "8051010000000000 4c1d000000000000 60d19cffffffffff 4c0e000000000000";
  const std::string record = HandRecord{7, 5, 0, 4, {40, 48, 56, 64, 72}, payload}.bytes();
  EXPECT_EQ(takeHex(row.toRow(1, &errors)), toHex(record));
  EXPECT_EQ(takeHex(copy->toRow(1, &errors)), toHex(record));
  EXPECT_EQ(read(row, record), "p 02.01.1970,7.500,-7.500000,01h01");
}

TEST(ConnectionRowByOrder, FollowsItsSchema) {
  kyv::StreamSchema ready("Ready", 6, {{"A", kInteger}});
  TestSchema changing({{"A", kInteger}});
  ConnectionRowByOrder row;
  row.setFieldAsString(0, "7");
  ConnectionErrors errors;
  const auto payload = [&] { return takeHex(row.toRow(1, &errors)).substr(56); };
  row.setStreamType(&changing, false);
  EXPECT_EQ(payload(), "07000000");
  changing.columns = {{"A", kString}};
  EXPECT_EQ(payload(), "3700") << "a schema may change between two rows";
  row.setStreamType(&ready, false);
  EXPECT_EQ(payload(), "07000000");
  row.setStreamType(&changing, false);
  EXPECT_EQ(payload(), "3700");
  row.clear();
  EXPECT_EQ(row.toRow(1, &errors), nullptr);
  EXPECT_EQ(errors.report(), "record 1: no stream specified");
}

// --- From a record --------------------------------------------------------------------------------------------------

TEST(ConnectionRowByOrder, ReadsEachKindOfColumn) {
  TestSchema schema(columnsOf("int16 string float date time binary decimal(9,1) boolean money no-type"));
  const std::string payload =
      "feff 61620000 000000000000f83f 00000002abcd 0000000000000000 0f00000000000000 0522 000000000000 00"
      "983a000000000000 00";
  const HandRecord record{13, 5, 0x11, 10, {64, 66, 70, 0, -5, 78, 84, 108, 109, 117, 118}, payload};
  ConnectionRowByOrder row;
  row.setStreamType(&schema, false);
  row.setFieldAsString(20, "from before");
  EXPECT_EQ(read(row, record.bytes()), "ds -2,ab,1.500000,-,-,ABCD,1.5,false,1.5000,");
}

TEST(ConnectionRowByOrder, ReadsLongTextsBesideShortOnes) {
  constexpr int kColumns = 20;
  TestSchema schema(std::vector<TestSchema::Column>(kColumns, {"A", kString}));
  HandRecord record{7, 5, 0, kColumns, {}, ""};
  std::string fields;
  int offset = 24 + 4 * kColumns;
  for (int i = 0; i < kColumns; ++i) {
    const std::string text(static_cast<std::size_t>(i % 2 == 0 ? i * i * 20 : i), static_cast<char>('a' + i));
    record.table.push_back(offset);
    record.payload += toHex(text) + "00";
    offset += static_cast<int>(text.size()) + 1;
    fields += (i == 0 ? "" : ",") + text;
  }
  record.table.push_back(offset);
  ConnectionRowByOrder row;
  row.setStreamType(&schema, false);
  EXPECT_EQ(read(row, record.bytes()), "p " + fields);
  const char* text = nullptr;
  ASSERT_TRUE(row.getFieldAsString(kColumns - 1, &text));
  EXPECT_TRUE(row.setFieldAsString(0, text));
  EXPECT_EQ(fieldsOf(row), text + fields) << "a field of a record may be set from another";
}

TEST(ConnectionRowByOrder, ReadsNothingWithoutRecordStreamOrOperation) {
  TestSchema schema({{"A", kInteger}});
  ConnectionRowByOrder row;
  ConnectionErrors errors;
  row.setFieldAsString(0, "from before");
  EXPECT_FALSE(row.fromRow(nullptr, 3, &errors));
  EXPECT_EQ(row.size(), 0);
  EXPECT_FALSE(row.getSequenceNumberfromRow(nullptr, &errors));
  EXPECT_EQ(errors.report(), "") << "a missing record has no message";
  const std::string record = HandRecord{2, 5, 0, 1, {28, 32}, "01000000"}.bytes();
  EXPECT_EQ(read(row, record), "record 3: no stream specified");
  row.setStreamType(&schema, false);
  EXPECT_EQ(read(row, record), "record 3: unknown operation '0x2', not i/u/d/p");
}

TEST(ConnectionRowByOrder, BelievesNoRecord) {
  TestSchema schema(kyv_test::hostileColumns());
  ConnectionRowByOrder row, delivery;
  row.setStreamType(&schema, false);
  delivery.setStreamType(&schema, false);
  delivery.setSequenceNumberColumnName("Name");
  delivery.setOpcodeColumnName("Id");
  delivery.enableGDMode();
  for (const auto& hostile : kyv_test::hostileRecords()) {
    const std::string record = kyv_test::hostileBytes(hostile);
    const char* const code = hostile.length > 4 ? "2" : "0";
    const std::string refusal = std::string("record 3: unknown operation '0x") + code + "', not i/u/d/p";
    const std::string expected = hostile.fields != nullptr ? std::string("p ") + hostile.fields : refusal;
    EXPECT_EQ(read(row, record), expected) << hostile.what;
    read(delivery, record);
    auto memory = exactly(record);
    ConnectionErrors errors;
    EXPECT_TRUE(delivery.getSequenceNumberfromRow(memory.data(), &errors)) << hostile.what;
  }
}

// --- Guaranteed delivery --------------------------------------------------------------------------------------------

// Columns of an integer, a sequence number, and the text of an operation code without terminator.
std::string deliveryRecord(std::int64_t sequence, const char* opcode, int operation = 1) {
  const std::string payload = "01000000" + toHex(kyv_test::bytesOf(sequence)) + toHex(opcode);
  return HandRecord{operation, 5, 0, 3, {36, 40, 48, static_cast<int>(48 + std::string(opcode).size())}, payload}
      .bytes();
}

TEST(ConnectionRowByOrder, TakesSequenceNumberAndOperationOutOfTheirColumns) {
  TestSchema schema({{"A", kInteger}, {"SEQ", kLong}, {"OP", kString}});
  ConnectionRowByOrder row;
  row.setStreamType(&schema, false);
  row.setSequenceNumberColumnName("SEQ");
  row.setOpcodeColumnName("OP");
  EXPECT_EQ(read(row, deliveryRecord(42, "5")), "i 1,42,5") << "ordinary fields outside the mode";
  EXPECT_EQ(row.getSequenceNumber(), 0);
  row.enableGDMode();
  EXPECT_EQ(read(row, deliveryRecord(42, "5")), "d 1");
  EXPECT_EQ(row.getSequenceNumber(), 42);
  EXPECT_EQ(read(row, deliveryRecord(-43, " 3x")), "u 1") << "read as far as it is a number";
  EXPECT_EQ(row.getSequenceNumber(), -43);
  EXPECT_EQ(read(row, deliveryRecord(44, "2")), "record 3: unknown operation '0x2', not i/u/d/p");
  EXPECT_EQ(read(row, deliveryRecord(44, "u")), "record 3: unknown operation '0x0', not i/u/d/p");

  std::string nulls = deliveryRecord(45, "5", 13);
  for (const std::size_t entry : {24, 28}) kyv_test::poke(nulls, entry, 0);
  EXPECT_EQ(read(row, nulls), "d 1");
  EXPECT_EQ(row.getSequenceNumber(), 44) << "a null column leaves the number, a failed conversion does not";
  EXPECT_EQ(row.getOp(), 'd');
  EXPECT_EQ(read(row, deliveryRecord(42, "5")), "d 1");
  row.setFieldAsString(2, "x");
  EXPECT_EQ(fieldsOf(row), "1,-,x") << "the texts of those columns are gone";
}

TEST(ConnectionRowByOrder, ReadsTheSequenceNumberAlone) {
  TestSchema schema({{"SEQ", kInteger}, {"SEQ", kLong}, {"OP", kString}});
  ConnectionRowByOrder row;
  ConnectionErrors errors;
  auto memory = exactly(deliveryRecord(42, "5", 2));
  EXPECT_FALSE(row.getSequenceNumberfromRow(memory.data(), &errors));
  EXPECT_EQ(errors.report(), "No stream specified");
  row.setStreamType(&schema, false);
  row.setSequenceNumberColumnName("SEQ");
  row.setFieldAsString(0, "from before");
  EXPECT_TRUE(row.getSequenceNumberfromRow(memory.data(), &errors));
  EXPECT_EQ(row.getSequenceNumber(), 0) << "only in the mode";
  EXPECT_EQ(row.size(), 0);
  row.enableGDMode();
  EXPECT_TRUE(row.getSequenceNumberfromRow(memory.data(), &errors)) << "whatever the operation";
  EXPECT_EQ(row.getSequenceNumber(), 42) << "the last of the columns of that name";
  EXPECT_EQ(row.size(), 0);
}

}  // namespace
