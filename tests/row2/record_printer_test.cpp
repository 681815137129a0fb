#include "kyv/record_printer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/bytes.h"
#include "tests/support/hostile_records.h"
#include "tests/support/test_schema.h"

namespace {

using enum DataTypes::TypeEnum;
using kyv::ByteBuffer;
using kyv::RecordPrinter;
using kyv_test::exactly;
using kyv_test::HandRecord;
using kyv_test::TestSchema;

// What the printer appends behind "> " for a record in exactly its memory, or the message.
template <class Append>
std::string printed(RecordPrinter& printer, Append append, const std::string& record) {
  const auto memory = exactly(record);
  ByteBuffer out;
  out.append("> ");
  ConnectionErrors errors;
  if ((printer.*append)(memory.data(), 3, errors, out)) return std::string(out.view());
  EXPECT_EQ(out.view(), "> ") << "nothing is left behind";
  return errors.report();
}

std::string oneColumn(const char* payload) {
  const int end = static_cast<int>(28 + kyv_test::fromHex(payload).size());
  return HandRecord{7, 5, 0, 1, {end == 28 ? 0 : 28, end}, payload}.bytes();
}

TEST(RecordPrinter, PrintsEachKindAsAFieldAndAsJson) {
  const struct {
    unsigned int type;
    const char *payload, *field, *json;
  } rows[] = {
      {kInt16, "feff", "-2", "-2"},
      {kInteger, "07000000", "7", "7"},
      {kLong, "0000000000000080", "-9223372036854775808", "-9223372036854775808"},
      {kFloat, "0000000000000040", "2.0", "2.0"},
      {kFloat, "9a9999999999b93f", "0.1", "0.1"},
      {kFloat, "000000000000f07f", "inf", "null"},
      {kFloat, "000000000000f8ff", "-nan", "null"},
      {kMoney2, "fbffffffffffffff", "-0.05", "-0.05"},
      {kBoolean, "02", "true", "true"},
      {kInterval, "0500000000000000", "5", "5"},
      {DataTypes::createFixedDecimal(10, 2), "ffffffffffffffff 6affffffffffffff 020a 000000000000", "-1.50", "-1.50"},
      {kDate, "0000000000000000", "1970-01-01 00:00:00", "\"1970-01-01 00:00:00\""},
      {kTime, "0100000000000000", "00:00:01", "\"00:00:01\""},
      {kTimestamp, "e803000000000000", "1970-01-01 00:00:01", "\"1970-01-01 00:00:01\""},
      {kTimestamp, "f401000000000000", "1970-01-01 00:00:00.500", "\"1970-01-01 00:00:00.500\""},
      {kBigDateTime, "0100000000000000", "1970-01-01 00:00:00.000001", "\"1970-01-01 00:00:00.000001\""},
      {kBinary, "00000002abff", "ABFF", "\"ABFF\""},
      {kBinary, "00000000", "\"\"", "\"\""},
      {kString, "616200", "ab", "\"ab\""},
      {kString, "00", "\"\"", "\"\""},
      {kString, "612c6200", "\"a,b\"", "\"a,b\""},
      {kString, "61226200", "\"a\"\"b\"", "\"a\\\"b\""},
      {kString, "610a00", "\"a\n\"", "\"a\\n\""},
      {kString, "610d6200", "\"a\rb\"", "\"a\\rb\""},
      {kString, "206100", "\" a\"", "\" a\""},
      {kString, "612000", "\"a \"", "\"a \""},
      {kString, "", "", "null"},
      {kUndefined, "01", "", "\"\""},
  };
  for (const auto& row : rows) {
    const TestSchema schema({{"A\"b", row.type}});
    RecordPrinter printer(schema);
    const std::string record = oneColumn(row.payload);
    EXPECT_EQ(printed(printer, &RecordPrinter::appendDelimited, record), std::string("> ") + row.field + "\n");
    EXPECT_EQ(printed(printer, &RecordPrinter::appendJson, record), std::string("> {\"A\\\"b\":") + row.json + "}\n");
  }
}

TEST(RecordPrinter, TellsStreamAndOperationWhenAsked) {
  const TestSchema schema({{"A", kInteger}, {"B", kString}}), empty({});
  const std::string record = HandRecord{13, 5, 1, 2, {32, 0, 36}, "07000000"}.bytes();
  RecordPrinter printer(schema), bare(empty);
  for (RecordPrinter* p : {&printer, &bare}) p->setWithService(true);
  printer.setSeparator(';');
  EXPECT_EQ(printed(printer, &RecordPrinter::appendDelimited, record), "> Trades;d;7;\n");
  printer.setSeparator('d');
  EXPECT_EQ(printed(printer, &RecordPrinter::appendDelimited, record), "> \"Trades\"d\"d\"d7d\n");
  EXPECT_EQ(printed(printer, &RecordPrinter::appendJson, record),
            "> {\"stream\":\"Trades\",\"op\":\"d\",\"flags\":\"s\",\"A\":7,\"B\":null}\n");
  const std::string none = HandRecord{1, 5, 0, 0, {24}, ""}.bytes();
  EXPECT_EQ(printed(bare, &RecordPrinter::appendDelimited, none), "> Trades,i,\n");
  EXPECT_EQ(printed(bare, &RecordPrinter::appendJson, none), "> {\"stream\":\"Trades\",\"op\":\"i\"}\n");
}

TEST(RecordPrinter, QuotesWhatFormatsAndSeparatorsMakeOfValues) {
  const TestSchema schema({{"Day", kDate}, {"At", kTimestamp}, {"Time", kTime}, {"N", kInteger}});
  RecordPrinter printer(schema);
  printer.setDateFormat("%d,%m");
  printer.setTimestampFormat("%s");
  printer.setTimeFormat("");
  const std::string zero = "0000000000000000";
  const std::string record =
      HandRecord{7, 5, 0, 4, {40, 48, 56, 64, 68}, zero + "ffffffffffffffff" + zero + "f6ffffff"}.bytes();
  EXPECT_EQ(printed(printer, &RecordPrinter::appendDelimited, record), "> \"01,01\",-1.999,,-10\n");
  printer.setSeparator('-');
  EXPECT_EQ(printed(printer, &RecordPrinter::appendDelimited, record), "> 01,01-\"-1.999\"--\"-10\"\n");
}

TEST(RecordPrinter, BelievesNoRecord) {
  const TestSchema schema(kyv_test::hostileColumns());
  RecordPrinter printer(schema);
  for (const auto& row : kyv_test::hostileRecords()) {
    const std::string record = kyv_test::hostileBytes(row);
    std::string line = "record 3: unknown operation '0x" + std::string(row.length > 4 ? "2" : "0") + "', not i/u/d/p";
    if (row.fields != nullptr) {
      line = std::string("> ") + row.fields + "\n";
      if (const std::size_t empty = line.find(",,"); empty != std::string::npos) line.insert(empty + 1, R"("")");
      line.erase(std::remove(line.begin(), line.end(), '-'), line.end());
    }
    EXPECT_EQ(printed(printer, &RecordPrinter::appendDelimited, record), line) << row.what;
    EXPECT_EQ(printed(printer, &RecordPrinter::appendJson, record).back(), row.fields == nullptr ? 'p' : '\n');
  }
}

}  // namespace
