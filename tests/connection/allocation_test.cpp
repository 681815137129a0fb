// Counts every request for memory of the process, the C and C++ libraries' own included, by standing in front of the
// allocator. It is a program of its own for that reason; sanitizers bring their own allocator and leave it out.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "kyv/byte_buffer.h"
#include "kyv/connection_row_by_names.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/connection_row_csv.h"
#include "kyv/connection_row_pool.h"
#include "kyv/data_types.h"
#include "kyv/data_value.h"
#include "kyv/row2.h"
#include "kyv/stream_schema.h"
#include "kyv/time_model.h"
#include "tests/support/cells.h"

namespace {
long allocations = 0;
}

// The C library's own allocator under its other names.
extern "C" {
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* block, std::size_t bytes);

void* malloc(std::size_t bytes) noexcept {
  ++allocations;
  return __libc_malloc(bytes);
}

void* calloc(std::size_t count, std::size_t bytes) noexcept {
  ++allocations;
  return __libc_calloc(count, bytes);
}

void* realloc(void* block, std::size_t bytes) noexcept {
  ++allocations;
  return __libc_realloc(block, bytes);
}
}

namespace {

using kyv_test::Cell;
using kyv_test::kCells;
using kyv_test::lineOfCells;
using kyv_test::schemaOfCells;

constexpr int kRows = 100;

class Allocations : public testing::Test {
 protected:
  // Allocations a call after a first one, which may set up what is kept.
  template <class Call>
  static double perCall(Call call) {
    call();
    const long before = allocations;
    for (int row = 0; row < kRows; ++row) call();
    return static_cast<double>(allocations - before) / kRows;
  }

  void setFields(ConnectionRowByNames& row) {
    row.clearData();
    for (const Cell& cell : kCells) {
      if (cell.text != nullptr) row.setFieldAsString(cell.column.name.c_str(), cell.text);
    }
  }

  void setFields(ConnectionRowByOrder& row) {
    row.clearData();
    for (const Cell& cell : kCells) row.appendFieldAsString(cell.text);
  }

  kyv::StreamSchema schema_ = schemaOfCells();
  ConnectionErrors errors_;
  kyv::ByteBuffer out_;
};

TEST_F(Allocations, ALineTakesOneForItsRecord) {
  ConnectionRowCsv row;
  row.setStreamType(&schema_, false);
  for (std::string line : {lineOfCells(), lineOfCells("'")}) {
    EXPECT_EQ(perCall([&] {
                row.setBuffer(line.data());
                std::free(row.toRow(1, &errors_));
              }),
              1)
        << line;
  }
  EXPECT_EQ(errors_.report(), "");
}

TEST_F(Allocations, AnAppendedLineTakesNone) {
  ConnectionRowCsv row;
  row.setStreamType(&schema_, false);
  const std::string line = lineOfCells();
  EXPECT_EQ(perCall([&] {
              out_.clear();
              row.appendRow(line, 1, errors_, out_);
            }),
            0);
  EXPECT_EQ(errors_.report(), "");
}

TEST_F(Allocations, FieldsTakeOneForTheirRecord) {
  ConnectionRowByOrder row;
  row.setStreamType(&schema_, false);
  EXPECT_EQ(perCall([&] {
              setFields(row);
              std::free(row.toRow(1, &errors_));
            }),
            1);
  EXPECT_EQ(errors_.report(), "");
}

TEST_F(Allocations, NamedFieldsTakeOneForTheirRecordHoweverLongTheyAre) {
  ConnectionRowByNames row;
  row.setStreamType(&schema_, false);
  const std::string longText(20000, 'x');
  const auto convert = [&] {
    setFields(row);
    row.setFieldAsString("Name", longText.c_str());
    std::free(row.toRow(1, &errors_));
  };
  convert();
  EXPECT_EQ(perCall(convert), 1);
  EXPECT_EQ(errors_.report(), "");
}

TEST_F(Allocations, ARowOfAPoolTakesNone) {
  ConnectionRowPool pool;
  auto prototype = std::make_unique<ConnectionRowByOrder>();
  prototype->setStreamType(&schema_, false);
  pool.setPrototype(prototype.release());
  ConnectionTrans trans;
  EXPECT_EQ(perCall([&] {
              pool.allocTrans(&trans, 3);
              for (ConnectionRow* const row : trans) {
                out_.clear();
                auto& ordered = static_cast<ConnectionRowByOrder&>(*row);
                setFields(ordered);
                ordered.appendRow(1, errors_, out_);
              }
              pool.freeTrans(&trans);
            }),
            0);
  EXPECT_EQ(errors_.report(), "");
}

TEST_F(Allocations, AppendedFieldsTakeNone) {
  ConnectionRowByOrder row;
  row.setStreamType(&schema_, false);
  EXPECT_EQ(perCall([&] {
              setFields(row);
              out_.clear();
              row.appendRow(1, errors_, out_);
            }),
            0);
  EXPECT_EQ(errors_.report(), "");
}

TEST_F(Allocations, ReadingARecordTakesNone) {
  ConnectionRowByOrder row;
  row.setStreamType(&schema_, false);
  setFields(row);
  void* record = row.toRow(1, &errors_);
  EXPECT_EQ(perCall([&] { row.fromRow(record, 1, &errors_); }), 0);
  EXPECT_EQ(errors_.report(), "");
  std::free(record);
}

TEST_F(Allocations, AValueAsANewTextTakesOneHoweverLongItsFormat) {
  std::string format;
  while (format.size() < 330) format += "%c %H, week %5V;";
  std::int64_t seconds = 0;
  std::string text;
  EXPECT_EQ(perCall([&] {
              const auto data = static_cast<unsigned char*>(static_cast<void*>(&seconds));
              char* const made = DataTypes::unpackToNewString(data, DataTypes::kDate, format.c_str(), format.c_str(),
                                                              format.c_str(), format.c_str());
              text.assign(made);
              std::free(made);
            }),
            1);
  EXPECT_GT(text.size(), 800U);
}

TEST_F(Allocations, CheckingARecordTakesNone) {
  ConnectionRowByOrder row;
  row.setStreamType(&schema_, false);
  setFields(row);
  ASSERT_TRUE(row.appendRow(1, errors_, out_));
  const std::span<const std::byte> record = std::as_bytes(std::span(out_.data(), out_.size()));
  std::vector<unsigned int> types;
  for (const Cell& cell : kCells) types.push_back(cell.column.type);
  std::string error;
  const auto check = [&] {
    return Row2::validateUntrusted(error, record, static_cast<int>(types.size()), 0, types.data(), nullptr);
  };
  EXPECT_EQ(perCall(check), 0);
  EXPECT_TRUE(check()) << error;
}

TEST(ModelAllocations, AModelNeedsNoneForAValue) {
  using kyv::TimeType;
  char room[256];
  for (const char* text : {"YYYY-MM-DD HH24:MI:SS.FF", "FMDay, DD Month YYYY HH:MI:SS AM", "YYYY-MM-DD HH24:MI:SS TZH",
                           "Dy RM/DD/YYYY SSSSS", "MIC"}) {
    const kyv::TimeModel model(text, "America/New_York");
    const long before = allocations;
    const auto printed = model.format(TimeType::kTimestamp, 1709622489120, room);
    const auto read = model.parse(TimeType::kTimestamp, printed.value_or(""));
    EXPECT_EQ(allocations, before) << text;
    EXPECT_TRUE(printed && read) << text;
  }
  const kyv::TimeModel named("YYYY-MM-DD TZR", "America/New_York");
  const long before = allocations;
  EXPECT_TRUE(named.parse(TimeType::kDate, "2024-07-03 America/New_York"));
  EXPECT_TRUE(named.format(TimeType::kDate, 0, room));
  EXPECT_EQ(allocations, before);
}

}  // namespace
