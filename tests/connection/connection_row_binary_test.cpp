// A row that holds a record, and copies of it.

#include "kyv/connection_row_binary.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <string>

#include "kyv/stream_schema.h"
#include "tests/support/bytes.h"
#include "tests/support/row_text.h"
#include "tests/support/test_schema.h"

namespace {

using kyv_test::bytesOf;
using kyv_test::takeHex;
using kyv_test::toHex;

constexpr int kNone = 0;

// Bytes that begin with a length word.
std::string recordOf(int length, std::size_t bytes) { return bytesOf(length) + std::string(bytes - 4, '\x5A'); }

// What the row holds, "null" without a record.
std::string held(ConnectionRowBinary& row) {
  if (row.getRow() == nullptr) return row.getRowSize() == 0 ? "null" : "a size without a record";
  return toHex({static_cast<const char*>(row.getRow()), static_cast<std::size_t>(row.getRowSize())});
}

TEST(BinaryRow, HoldsACopyOfARecordOfItsSize) {
  const struct {
    const char* what;
    std::string record;  // in memory of exactly these bytes; none when empty
    int size;
    int expected;  // bytes held
  } rows[] = {
      {"the size of the length word", recordOf(120, 120), 0, 120},
      {"a size of its own", recordOf(120, 60), 60, 60},
      {"a size that no length word fits in", std::string("xy"), 2, 2},
      {"a negative size", recordOf(120, 120), -1, kNone},
      {"the least size", recordOf(120, 120), INT_MIN, kNone},
      {"a length word of 0", recordOf(0, 4), 0, kNone},
      {"a negative length word", recordOf(-8, 4), 0, kNone},
      {"no record", "", 0, kNone},
      {"no record of some size", "", 8, kNone},
  };
  for (const auto& row : rows) {
    for (const bool holdsOne : {false, true}) {
      std::vector<unsigned char> bytes = kyv_test::exactly(row.record);
      std::string former = recordOf(16, 16);
      ConnectionRowBinary binary;
      if (holdsOne) binary.setRow(former.data(), 0);
      binary.setRow(bytes.empty() ? nullptr : bytes.data(), row.size);
      const std::string expected = row.record.substr(0, static_cast<std::size_t>(row.expected));
      EXPECT_EQ(held(binary), expected.empty() ? "null" : toHex(expected)) << row.what;
    }
  }
}

TEST(BinaryRow, KeepsItsBufferForARecordOfTheSameSize) {
  ConnectionRowBinary row;
  std::string first = recordOf(24, 24), second = first, longer = recordOf(32, 32);
  second.back() = 'x';
  row.setRow(first.data(), 0);
  const void* const buffer = row.getRow();
  row.setRow(second.data(), 0);
  EXPECT_EQ(row.getRow(), buffer);
  EXPECT_EQ(held(row), toHex(second));
  row.setRow(longer.data(), 0);
  EXPECT_EQ(held(row), toHex(longer));
  row.setRow(row.getRow(), 24);
  EXPECT_EQ(held(row), toHex(longer.substr(0, 24))) << "a part of the record that it holds";
}

TEST(BinaryRow, AllocatesARecordToBeFilledIn) {
  const struct {
    int size;
    int expected;
  } rows[] = {{1048576, 1048576}, {24, 24}, {4, 4}, {3, 4}, {0, 4}, {1048577, kNone}, {-1, kNone}, {INT_MIN, kNone}};
  for (const auto& row : rows) {
    ConnectionRowBinary binary;
    std::string former = recordOf(16, 16);
    binary.setRow(former.data(), 0);
    void* const room = binary.allocRow(row.size);
    EXPECT_EQ(binary.getRowSize(), row.expected) << row.size;
    if (row.expected == kNone) {
      EXPECT_EQ(room, nullptr) << row.size;
      EXPECT_EQ(binary.getRow(), nullptr) << row.size;
      continue;
    }
    EXPECT_EQ(room, static_cast<char*>(binary.getRow()) + 4) << row.size;
    std::memset(room, 0x5A, static_cast<std::size_t>(row.expected - 4));
    EXPECT_EQ(held(binary), toHex(recordOf(row.expected, static_cast<std::size_t>(row.expected)))) << row.size;
  }
}

TEST(BinaryRow, TakesOverARecordAsItIs) {
  ConnectionRowBinary row;
  const auto adopt = [&row](const std::string& bytes) {
    auto* const record = new unsigned char[bytes.size()];
    std::memcpy(record, bytes.data(), bytes.size());
    row.adoptRow(record);
    return record;
  };
  const std::string record = recordOf(24, 24);
  void* const adopted = adopt(record);
  EXPECT_EQ(row.getRow(), adopted);
  EXPECT_EQ(held(row), toHex(record));
  row.adoptRow(row.getRow());
  EXPECT_EQ(held(row), toHex(record)) << "its own record";
  adopt(recordOf(-1, 4));
  EXPECT_EQ(held(row), "null") << "a negative size";
  void* const unsized = adopt(recordOf(0, 4));
  EXPECT_EQ(row.getRow(), unsized);
  EXPECT_EQ(row.getRowSize(), 0);
  row.adoptRow(nullptr);
  EXPECT_EQ(held(row), "null");
}

TEST(BinaryRow, CopiesARecordInAndOut) {
  ConnectionErrors errors;
  ConnectionRowBinary row;
  EXPECT_EQ(row.toRow(1, &errors), nullptr);
  std::string record = recordOf(24, 24), sizeless = recordOf(0, 24), negative = recordOf(-24, 24);
  EXPECT_TRUE(row.fromRow(record.data(), nullptr, 1, errors));
  const std::string before = toHex(record);
  record.back() = 'x';
  const auto out = std::unique_ptr<void, decltype(&std::free)>(row.toRow(1, &errors), &std::free);
  row.clearData();
  EXPECT_EQ(held(row), "null");
  EXPECT_EQ(toHex(kyv_test::recordBytes(out.get())), before) << "independent of both";
  for (void* const refused :
       {static_cast<void*>(sizeless.data()), static_cast<void*>(negative.data()), (void*)nullptr}) {
    EXPECT_TRUE(row.fromRow(record.data(), 1, &errors));
    EXPECT_EQ(takeHex(row.toRow(nullptr, 1, errors)), toHex(record));
    EXPECT_FALSE(row.fromRow(refused, 1, &errors));
    EXPECT_EQ(held(row), "null");
  }
  EXPECT_TRUE(errors.empty());
}

TEST(BinaryRow, FindsEveryRecordValidUnseen) {
  ConnectionErrors errors;
  ConnectionRowBinary row;
  EXPECT_TRUE(row.validate(&errors) && row.validate(errors));
  std::string nonsense = recordOf(1000000, 8);
  row.setRow(nonsense.data(), 8);
  EXPECT_TRUE(row.validate(&errors) && row.validate(errors));
  EXPECT_TRUE(errors.empty());
}

TEST(BinaryRow, ClearsAndIsMadeAnewLikeOtherRows) {
  kyv_test::SchemaCounts counts;
  ConnectionRowBinary row;
  row.setStreamName("Trades");
  row.setStreamType(new kyv_test::TestSchema({}, &counts), true);
  std::string record = recordOf(24, 24);
  row.setRow(record.data(), 0);
  const std::unique_ptr<ConnectionRow> other(row.createNew());
  ASSERT_NE(dynamic_cast<ConnectionRowBinary*>(other.get()), nullptr);
  EXPECT_EQ(other->getStreamName(), "Trades");
  EXPECT_EQ(other->getRow(), nullptr);
  EXPECT_EQ(counts.clones, 1);
  row.clear();
  EXPECT_EQ(held(row), "null");
  EXPECT_EQ(row.getStreamName(), "");
  EXPECT_EQ(counts.deletions, 1);
}

}  // namespace
