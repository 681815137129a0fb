#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "kyv/connection_row.h"
#include "kyv/data_types.h"
#include "kyv/flat.h"
#include "services/errors_handle.h"
#include "tests/support/bytes.h"
#include "tests/support/row_text.h"
#include "tests/support/test_schema.h"

namespace {

using enum DataTypes::TypeEnum;
using kyv_test::HandRecord;
using kyv_test::SchemaCounts;
using kyv_test::takeHex;
using kyv_test::TestSchema;

std::string report(ConnectionErrorsHandle* errors) {
  char* text = nullptr;
  getAdapterError(errors, &text);
  const std::unique_ptr<char[]> owner(text);
  return text == nullptr ? "" : text;
}

TEST(FlatRows, AnUnknownKindGivesAHandleWithoutARow) {
  for (const char* kind : {"RowBinary", "rowcsv", ""}) {
    ConnectionRowHandle* const row = createConnectionRow(kind);
    ASSERT_NE(row, nullptr) << kind;
    EXPECT_EQ(*static_cast<ConnectionRow**>(static_cast<void*>(row)), nullptr) << kind;
    deleteConnectionRow(row);
  }
  deleteConnectionRow(nullptr);
}

TEST(FlatRows, ConvertLinesWithTheirFormats) {
  const char* const names[] = {"D", "T", "H"};
  const unsigned int types[] = {kDate, kTimestamp, kTime};
  ConnectionRowType** const type = createConnectionRowType("Trades", 6, 3, names, types);
  ConnectionErrorsHandle* const errors = createConnectionErrors();
  ConnectionRowHandle* const row = createConnectionRow("RowCsv");
  setStreamType(row, type, true);
  releaseConnectionRowType(type);
  setDateFormat(row, "%d.%m.%Y");
  setTimestampFormat(row, "%s");
  setTimeFormat(row, "%H");
  setSeparator(row, ';');
  setWithService(row, true);
  std::string line = "any;d;01.01.1970;0.007;01";
  setBuffer(row, line.data());
  const std::string expected =
      HandRecord{5, 6, 0, 3, {36, 44, 52, 60}, "0000000000000000 0700000000000000 100e000000000000"}.bytes();
  EXPECT_EQ(takeHex(toRow(row, 1, errors)), kyv_test::toHex(expected));
  {
    const std::unique_ptr<ConnectionRow> copy(createNew(row));
    ConnectionErrors none;
    copy->setBuffer(line.data());
    EXPECT_NE(copy->getStreamType(), getStreamType(row)) << "an owned schema is cloned";
    EXPECT_EQ(takeHex(copy->toRow(1, &none)), kyv_test::toHex(expected));
  }
  std::snprintf(allocBuffer(row, 64), 64, "any;d;1");
  EXPECT_EQ(toRow(row, 2, errors), nullptr);
  EXPECT_FALSE(fromRow(row, line.data(), 3, errors));
  EXPECT_EQ(report(errors),
            "record 2: not enough fields for stream 'Trades', only 1, need 3\n"
            "Conversion from raw rows to this subtype of ConnectionRow is not implemented.");
  deleteConnectionRow(row);
  deleteConnectionErrors(errors);
}

TEST(FlatRows, HoldTheCollectorsLockWhileTheyConvertAndLetNoExceptionOut) {
  SchemaCounts counts;
  auto* const schema = new TestSchema({{"A", kInteger}}, &counts);
  ConnectionRowType* box = schema;
  ConnectionErrorsHandle* const errors = createConnectionErrors();
  ConnectionRowHandle* const row = createConnectionRow("RowByOrder");
  setStreamType(row, &box, true);
  int busy = 0;
  schema->onColumnCount = [&] { busy += pthread_mutex_trylock(&errors->mutex) == EBUSY ? 1 : 100; };
  EXPECT_EQ(toRow(row, 1, errors), nullptr);
  std::string record = HandRecord{7, 5, 0, 1, {0, 28}, ""}.bytes();
  EXPECT_TRUE(fromRow(row, record.data(), 2, errors));
  EXPECT_EQ(busy, 2);
  schema->onColumnCount = [] { throw std::runtime_error("a schema's own"); };
  EXPECT_EQ(toRow(row, 3, errors), nullptr);
  EXPECT_FALSE(fromRow(row, record.data(), 4, errors));
  deleteConnectionRow(row);
  EXPECT_EQ(counts.deletions, 1);
  deleteConnectionErrors(errors);
}

TEST(FlatRows, OnSeveralThreadsReportIntoOneCollector) {
  constexpr int kThreads = 4, kRows = 200;
  ConnectionErrorsHandle* const errors = createConnectionErrors();
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([errors] {
      ConnectionRowHandle* const row = createConnectionRow("RowByOrder");
      for (int n = 0; n < kRows; ++n) EXPECT_EQ(toRow(row, 1, errors), nullptr);
      deleteConnectionRow(row);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(sizeConnectionErrors(errors), kThreads * kRows);
  deleteConnectionErrors(errors);
}

}  // namespace
