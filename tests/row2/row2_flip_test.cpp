#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kyv/data_types.h"
#include "kyv/row2.h"
#include "tests/support/bytes.h"
#include "tests/support/record_copies.h"

namespace {

using enum DataTypes::TypeEnum;
using kyv_test::fromHex;
using kyv_test::HandRecord;
using kyv_test::inOppositeOrder;
using kyv_test::RecordCopy;
using kyv_test::toHex;

struct FlipRow {
  const char* what;
  std::vector<unsigned int> types;
  HandRecord host;
  std::string oppositePayload;
};

const FlipRow kRows[] = {
    {"no columns", {}, {1, 0x01020304, 0, 0, {24}, ""}, ""},
    {"each kind of column, NULL, shine through and a code without a type",
     {kInt16, kInteger, kLong, kFloat, kBoolean, kString, kBinary, DataTypes::createFixedDecimal(10, 2), kDate, kTime,
      kMoney2, kUndefined, 31},
     {7,
      -2,
      0x11,
      13,
      {76, 78, 82, 90, 98, 99, 103, 109, 0, -1, 133, 141, 143, 145},
      "0102 01020304 0102030405060708 1112131415161718 01 61626300 00000002aabb"
      "0102030405060708 1112131415161718 2122 313233343536 4142434445464748 5152 6162"},
     "0201 04030201 0807060504030201 1817161514131211 01 61626300 00000002aabb"
     "0807060504030201 1817161514131211 2221 313233343536 4847464544434241 5152 6162"},
    {"options in slots 0, 1 and 7, latencies of 18 bytes",
     {kInteger},
     {3,
      9,
      0x8310,
      0x03000001,
      {40, 44, 48, 66, 70},
      "01020304 11121314 21222324 31323334 41424344 51525354 6162 71727374"},
     "04030201 11121314 24232221 34333231 44434241 54535251 6162 71727374"},
    {"latencies without content", {}, {5, 9, 0x200, 0x01000000, {0, 32}, "01020304"}, "01020304"},
    {"latencies of three bytes", {}, {5, 9, 0x600, 0x02000000, {32, 35, 39}, "010203 04050607"}, "010203 04050607"},
    {"latencies that end at the next option with content",
     {kString},
     {5, 9, 0x600, 0x02000001, {-1, 36, 0, 40}, "01020304"},
     "04030201"},
    {"latencies flagged nowhere",
     {},
     {5, 9, 0x500, 0x02000000, {32, 36, 40}, "01020304 05060708"},
     "01020304 05060708"},
};

template <class Operation>
std::string flipped(const std::string& bytes, Operation flip) {
  RecordCopy record(bytes);
  flip(record.get());
  return record.bytes();
}

TEST(Row2Flip, TurnsRecordsIntoTheOppositeOrderAndBack) {
  for (const FlipRow& row : kRows) {
    SCOPED_TRACE(row.what);
    const std::string host = row.host.bytes(), opposite = inOppositeOrder(row.host, row.oppositePayload);
    const unsigned int* const types = row.types.data();
    EXPECT_EQ(toHex(flipped(host, [=](Row2* r) { r->flipFromNativeByteOrder(types); })), toHex(opposite));
    EXPECT_EQ(toHex(flipped(opposite, [=](Row2* r) { r->flipToNativeByteOrder(types); })), toHex(host));
  }
}

TEST(Row2Flip, FlipsOptionsAloneInARecordOfHostOrder) {
  const FlipRow& row = kRows[2];
  const std::string host = row.host.bytes();
  const std::string expected = host.substr(0, 48) + fromHex("24232221 34333231 44434241 54535251") + host.substr(64);
  EXPECT_EQ(toHex(flipped(host, [](Row2* r) { r->flipOptionsFromNativeByteOrder(); })), toHex(expected));
  EXPECT_EQ(toHex(flipped(expected, [](Row2* r) { r->flipOptionsToNativeByteOrder(); })), toHex(host));
}

TEST(Row2Flip, TheMaskTellsTheHostsByteOrder) { EXPECT_EQ(Row2::_byteOrderMask, 0x000000FFu); }

}  // namespace
