// Rows and printers that are given date models in place of "%"-style formats.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "kyv/byte_buffer.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/connection_row_csv.h"
#include "kyv/record_printer.h"
#include "kyv/time_model.h"
#include "tests/support/row_text.h"
#include "tests/support/test_schema.h"

namespace {

using kyv::TimeModel;
using kyv_test::fieldsOf;
using kyv_test::TestSchema;

constexpr const char* kTypes = "date timestamp bigdatetime time";

void setModels(auto& converter) {
  converter.setDateModel(TimeModel("DD-Mon-YYYY"));
  converter.setTimestampModel(TimeModel("YYYYMMDD HH24:MI:SS.FF"));
  converter.setTimeModel(TimeModel("HH:MI AM"));
}

// The record's columns by the default formats, or the message.
std::string plainly(void* record, TestSchema& schema, const ConnectionErrors& errors) {
  if (record == nullptr) return errors.report();
  ConnectionRowByOrder reader;
  ConnectionErrors none;
  reader.setStreamType(&schema, false);
  EXPECT_TRUE(reader.fromRow(record, 1, &none)) << none.report();
  std::free(record);
  return fieldsOf(reader);
}

std::string converted(ConnectionRow& row, TestSchema& schema, std::string line) {
  ConnectionErrors errors;
  row.setStreamType(&schema, false);
  row.setBuffer(line.data());
  return plainly(row.toRow(1, &errors), schema, errors);
}

TEST(RowModels, ReadFieldsIntoTheValuesThatFormatsGive) {
  TestSchema schema(kyv_test::columnsOf(kTypes));
  ConnectionRowCsv row;
  setModels(row);
  EXPECT_EQ(converted(row, schema, "05-Mar-2024,20240305 07:08:09.12,20240305 07:08:09.123456,07:08 PM"),
            "2024-03-05 00:00:00,2024-03-05 07:08:09.120,2024-03-05 07:08:09.123456,19:08:00");
  EXPECT_THAT(converted(row, schema, "5-mar-2024,,,"), testing::HasSubstr("date constant does not match format"));
  EXPECT_THAT(converted(row, schema, ",2024 07:08:09,,"),
              testing::HasSubstr("timestamp constant does not match format"));
}

TEST(RowModels, TakeWhatTheyDoNotNameFrom1970) {
  TestSchema schema(kyv_test::columnsOf(kTypes));
  ConnectionRowCsv row;
  row.setDateModel(TimeModel("HH24:MI"));
  row.setTimestampModel(TimeModel("MM-DD SS.FF"));
  row.setTimeModel(TimeModel("HH24:MI:SS"));
  EXPECT_EQ(converted(row, schema, "07:08,02-03 04.5,02-03 04.5,23:59:59"),
            "1970-01-01 07:08:00,1970-02-03 00:00:04.500,1970-02-03 00:00:04.500000,23:59:59");
  ConnectionRowCsv formatted;
  std::string line = "23:59:59", same = line;
  TestSchema time(kyv_test::columnsOf("time"));
  ConnectionErrors errors;
  kyv::ByteBuffer byModel, byFormat;
  row.setStreamType(&time, false);
  formatted.setStreamType(&time, false);
  EXPECT_TRUE(row.appendRow(line.data(), 1, errors, byModel));
  EXPECT_TRUE(formatted.appendRow(same.data(), 1, errors, byFormat));
  EXPECT_EQ(byModel.view(), byFormat.view());
}

TEST(RowModels, PrintFieldsAndLines) {
  TestSchema schema(kyv_test::columnsOf(kTypes));
  ConnectionRowCsv plain;
  ConnectionErrors errors;
  plain.setStreamType(&schema, false);
  std::string line = "2024-03-05 00:00:00,2024-03-05 07:08:09.120,2024-03-05 07:08:09.123456,19:08:00";
  plain.setBuffer(line.data());
  void* const record = plain.toRow(1, &errors);
  ASSERT_NE(record, nullptr) << errors.report();
  constexpr const char* kPrinted = "05-Mar-2024,20240305 07:08:09.120000,20240305 07:08:09.123456,07:08 PM";

  ConnectionRowByOrder row;
  row.setStreamType(&schema, false);
  setModels(row);
  const std::unique_ptr<ConnectionRow> copy(row.createNew());
  for (ConnectionRow* const printing : {static_cast<ConnectionRow*>(&row), copy.get()}) {
    EXPECT_TRUE(printing->fromRow(record, 1, &errors));
    EXPECT_EQ(fieldsOf(*printing), kPrinted);
  }

  kyv::RecordPrinter printer(schema);
  setModels(printer);
  printer.setTimeModel(TimeModel("HH:MI, \"on the\" DD"));
  kyv::ByteBuffer out;
  EXPECT_TRUE(printer.appendDelimited(record, 1, errors, out));
  EXPECT_EQ(out.view(), "05-Mar-2024,20240305 07:08:09.120000,20240305 07:08:09.123456,\"07:08, on the 01\"\n");
  printer.setDateFormat("%y");
  out.clear();
  EXPECT_TRUE(printer.appendJson(record, 1, errors, out));
  EXPECT_EQ(out.view(),
            R"({"A":"24","B":"20240305 07:08:09.120000","C":"20240305 07:08:09.123456","D":"07:08, on the 01"})"
            "\n");
  std::free(record);
}

}  // namespace
