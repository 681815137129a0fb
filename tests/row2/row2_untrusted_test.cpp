#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

#include "kyv/data_types.h"
#include "kyv/row2.h"
#include "tests/support/bytes.h"
#include "tests/support/hostile_records.h"
#include "tests/support/record_copies.h"

namespace {

using enum DataTypes::TypeEnum;
using kyv_test::bytesOf;
using kyv_test::HandRecord;
using kyv_test::inOppositeOrder;
using kyv_test::poke;
using kyv_test::RecordCopy;
using kyv_test::toHex;

// What is wrong with bytes as a record of fixed columns: "MESSAGE @POSITION", nothing when they pass.
std::string faultOf(const std::string& bytes, const std::vector<unsigned int>& types, const bool* nullable = nullptr) {
  const RecordCopy record(bytes);
  const auto columns = static_cast<int>(types.size());
  Row2::Fault fault;
  std::string error = "untouched";
  const bool passes = Row2::validateUntrusted(fault, record.span(), columns, 0, types.data(), nullable);
  EXPECT_EQ(Row2::validateUntrusted(error, record.span(), columns, 0, types.data(), nullable), passes);
  EXPECT_EQ(error, passes ? "untouched" : fault.message);
  EXPECT_EQ(toHex(record.bytes()), toHex(bytes)) << "nothing is changed";
  return passes ? "" : fault.message + " @" + std::to_string(fault.position);
}

const std::vector<unsigned int> kHostileTypes = {kInteger, kString, kBinary, kLong};

TEST(Row2Untrusted, FindsEveryLie) {
  const std::string tooShort = "record is too short for ";
  const std::string empty = tooShort + "0 columns and 0 options, payload offset 0x18, record length ";
  const std::vector<std::string> faults = {
      "",
      "end-of-data offset 0x3E is invalid, past record length of 0x3D @36",
      "column 0 offset 0x28 is invalid, past record length of 0x28 @20",
      tooShort + "4 columns and 0 options, payload offset 0x28, record length 0x27 @0",
      tooShort + "4 columns and 0 options, payload offset 0x28, record length 0x14 @0",
      empty + "0x4 @0",
      empty + "0xFFFFFFFF @0",
      "unexpected opcode 0x02 @4",
      tooShort + "16777215 columns and 0 options, payload offset 0x4000014, record length 0x3E @0",
      tooShort + "4 columns and 255 options, payload offset 0x424, record length 0x3E @0",
      "incorrect column count, expected 4 columns, row contains 9 columns @16",
      "incorrect column count, expected 4 columns, row contains 1 columns @16",
      "incorrect column count, expected 4 columns, row contains 5 columns @16",
      "column 0 offset 0x7FFFFFFF is invalid, past record length of 0x3E @20",
      "",
      "column 0 offset 0x4 is invalid, overlapping with previous known offset 0x27 @20",
      "column 0 offset 0x27 is invalid, overlapping with previous known offset 0x27 @20",
      "column 3 offset 0x3E is invalid, past record length of 0x3E @32",
      "column 2 offset 0x2C is invalid, overlapping with previous known offset 0x30 @28",
      "end-of-data offset 0x0 is invalid, overlapping with previous known offset 0x36 @36",
      "end-of-data offset 0x3F is invalid, past record length of 0x3E @36",
      "column 3 LONG length 0x7 is too short (need 0x8) @54",
      "column 0 INTEGER length 0x3 is too short (need 0x4) @40",
      "column 1 STRING is not 0-terminated (last byte 0x64 at offset 3) @47",
      "column 2 BINARY prefix 0xFFFFFFFF is invalid, past the value's length of 0x6 @48",
      "column 2 BINARY length 0x3 is too short (need 0x4) @48"};
  const auto hostile = kyv_test::hostileRecords();
  ASSERT_EQ(hostile.size(), faults.size());
  for (std::size_t i = 0; i < faults.size(); ++i) {
    EXPECT_EQ(faultOf(kyv_test::hostileBytes(hostile[i]), kHostileTypes), faults[i]) << hostile[i].what;
  }
}

TEST(Row2Untrusted, HoldsTheLengthWordAgainstTheBytesAtHand) {
  const std::string sound = kyv_test::hostileBytes(kyv_test::hostileRecords()[0]);
  EXPECT_EQ(faultOf(sound + "more", kHostileTypes), "");
  EXPECT_EQ(faultOf(sound.substr(0, 61), kHostileTypes),
            "record length 0x3E is invalid, past the 0x3D bytes that are there @0");
  EXPECT_EQ(faultOf(sound.substr(0, 3), kHostileTypes),
            "record is too short for 0 columns and 0 options, payload offset 0x18, record length 0x3 @0");
  EXPECT_EQ(faultOf("", kHostileTypes),
            "record is too short for 0 columns and 0 options, payload offset 0x18, record length 0x0 @0");
}

TEST(Row2Untrusted, NeedsTypesWhereThereAreColumns) {
  const RecordCopy record(HandRecord{1, 5, 0, 0, {24}, ""}.bytes());
  std::string error;
  EXPECT_TRUE(Row2::validateUntrusted(error, record.span(), 0, 0, nullptr, nullptr)) << error;
  EXPECT_FALSE(Row2::validateUntrusted(error, record.span(), 0, 1, nullptr, nullptr));
  EXPECT_EQ(error, "Row2::validateUntrusted requires the types argument to be non-NULL");
}

TEST(Row2Untrusted, SeesToWhatMayBeAbsent) {
  const bool nullable[] = {true, false};
  const std::vector<unsigned int> types = {kString, kInteger};
  const auto record = [](std::int32_t first, std::int32_t second) {
    return HandRecord{7, 5, 1, 2, {first, second, 36}, "01020304"}.bytes();
  };
  EXPECT_EQ(faultOf(record(0, 32), types, nullable), "");
  EXPECT_EQ(faultOf(record(-9, 32), types, nullable), "");
  EXPECT_EQ(faultOf(record(0, 0), types, nullable), "column 1 contains a NULL, not allowed @24");
  EXPECT_EQ(faultOf(record(0, -1), types, nullable), "column 1 contains a SHINE, not allowed @24");
  EXPECT_EQ(faultOf(record(0, -1), types), "");
}

TEST(Row2Untrusted, ReadsTypesOfGroupsFromOneGroup) {
  const std::vector<unsigned int> types = {kInteger, kString, kInteger};  // the last two are a group
  const auto fault = [&](const HandRecord& hand) {
    const RecordCopy record(hand.bytes());
    std::string error;
    return Row2::validateUntrusted(error, record.span(), 1, 2, types.data(), nullptr) ? "" : error;
  };
  EXPECT_EQ(fault({1, 5, 0, 1, {28, 32}, "01020304"}), "");
  EXPECT_EQ(fault({1, 5, 0, 5, {0, 44, 45, 49, 50, 54}, "00 01020304 00 01020304"}), "");
  EXPECT_EQ(fault({1, 5, 0, 5, {0, 44, 45, 49, 50, 53}, "00 01020304 00 010203"}),
            "column 4 INTEGER length 0x3 is too short (need 0x4)");
  EXPECT_EQ(fault({1, 5, 0, 4, {0, 0, 0, 0, 40}, ""}),
            "incorrect column count, expected 1[2]* columns, row contains 4 columns");
}

TEST(Row2Untrusted, KnowsOptions) {
  const char* const wrong = " is incorrect, must be a multiple of 4 and at least 0x10 @";
  const struct {
    std::uint32_t flags, counts;
    std::vector<std::int32_t> table;
    std::string fault;
  } rows[] = {{0x300, 0x02000000, {32, 36, 52}, ""},
              {0x500, 0x02000000, {32, 0, 52}, ""},
              {0x300, 0x02000000, {0, 37, 52}, std::string("option INSTRUMENT_LATENCY length 0xF") + wrong + "37"},
              {0x300, 0x02000000, {32, 0, 52}, std::string("option INSTRUMENT_LATENCY length 0x0") + wrong + "24"},
              {0x200,
               0x02000000,
               {32, 36, 52},
               "incorrect option count, flags 0x00000200 indicate 1 options, row contains 2 options @12"},
              {0x300,
               0x02000000,
               {32, 32, 52},
               "option 1 offset 0x20 is invalid, overlapping with previous known offset 0x20 @24"}};
  for (const auto& row : rows) {
    EXPECT_EQ(faultOf(HandRecord{1, 5, row.flags, row.counts, row.table, std::string(40, '0')}.bytes(), {}), row.fault);
  }
}

struct DecimalRow {
  const char* what;
  unsigned int type;
  std::int64_t high;
  std::uint64_t low;
  int precision, scale;
  const char* fault;  // in the record's one column, at 28
};

constexpr std::int64_t kTenTo34High = 542101086242752;  // 10 to the power of 34 in two words
constexpr std::uint64_t kTenTo34Low = 4003012203950112768u;

TEST(Row2Untrusted, ReadsDecimalsInBothByteOrders) {
  const unsigned int whole = DataTypes::createFixedDecimal(4, 2), unknown = kFixedDecimal;
  const DecimalRow rows[] = {
      {"the largest of its type", whole, 0, 9999, 4, 2, ""},
      {"the smallest of its type", whole, -1, -std::uint64_t{9999}, 4, 2, ""},
      {"one digit more", whole, 0, 10000, 4, 2, "column 0 DECIMAL value has more than 4 digits @28"},
      {"one digit more, negative", whole, -1, -std::uint64_t{10000}, 4, 2,
       "column 0 DECIMAL value has more than 4 digits @28"},
      {"the schema's digits win", whole, 0, 10000, 34, 0, "column 0 DECIMAL value has more than 4 digits @28"},
      {"the value's digits where the schema has none", unknown, 0, 1000, 3, 3,
       "column 0 DECIMAL value has more than 3 digits @28"},
      {"34 digits where nobody has any", unknown, kTenTo34High, kTenTo34Low - 1, 0, 0, ""},
      {"35 digits", unknown, kTenTo34High, kTenTo34Low, 0, 0, "column 0 DECIMAL value has more than 34 digits @28"},
      {"the lowest number of 128 bits", unknown, INT64_MIN, 0, 34, 34,
       "column 0 DECIMAL value has more than 34 digits @28"},
      {"a precision of 35", unknown, 0, 1, 35, 0, "column 0 DECIMAL precision 35 and scale 0 are invalid @44"},
      {"more places than digits", unknown, 0, 1, 3, 4, "column 0 DECIMAL precision 3 and scale 4 are invalid @44"},
      {"places without digits", whole, 0, 1, 0, 1, "column 0 DECIMAL precision 0 and scale 1 are invalid @44"}};
  for (const DecimalRow& row : rows) {
    const std::string unused = "cccccccccccc";
    const auto digits = static_cast<std::uint16_t>(row.precision << 8 | row.scale);
    const HandRecord host{7, 5, 0, 1, {28, 52}, toHex(bytesOf(row.high) + bytesOf(row.low) + bytesOf(digits)) + unused};
    std::string opposite =
        inOppositeOrder(host, toHex(bytesOf(__builtin_bswap64(static_cast<std::uint64_t>(row.high))) +
                                    bytesOf(__builtin_bswap64(row.low)) + bytesOf(__builtin_bswap16(digits))) +
                                  unused);
    opposite[12] = static_cast<char>(opposite[12] ^ 0x10);
    EXPECT_EQ(faultOf(host.bytes(), {row.type}), row.fault) << row.what;
    EXPECT_EQ(faultOf(opposite, {row.type}), row.fault) << row.what << ", opposite order";
  }
}

TEST(Row2Untrusted, ChecksARecordOfTheOppositeOrderAsItStands) {
  const HandRecord host{7, 5, 0x210, 0x01000003, {40, 44, 0, 50, 66}, "01020304 00000002aabb" + std::string(32, '1')};
  const std::vector<unsigned int> types = {kInteger, kBinary, kString};
  const std::string sound = inOppositeOrder(host, "04030201 00000002aabb" + std::string(32, '1'));
  EXPECT_EQ(faultOf(sound, types), "");
  const struct {
    std::size_t offset;
    std::uint32_t word;  // as the record's own order has it, but for length, operation and flags
    const char* fault;
  } rows[] = {
      {0, 67, "record length 0x43 is invalid, past the 0x42 bytes that are there @0"},
      {4, 2, "unexpected opcode 0x02 @4"},
      {12, 0x10, "incorrect option count, flags 0x00000010 indicate 0 options, row contains 1 options @12"},
      {16, 3, "incorrect option count, flags 0x00000210 indicate 1 options, row contains 0 options @12"},
      {20, 43, "column 0 INTEGER length 0x1 is too short (need 0x4) @43"},
      {24, 39, "column 1 offset 0x27 is invalid, overlapping with previous known offset 0x28 @24"},
      {28, 49, "column 1 BINARY prefix 0x2 is invalid, past the value's length of 0x5 @44"},
      {36, 64, "option INSTRUMENT_LATENCY length 0xE is incorrect, must be a multiple of 4 and at least 0x10 @50"}};
  for (const auto& row : rows) {
    std::string bytes = sound;
    const bool swapped = row.offset >= 16;
    poke(bytes, row.offset, static_cast<std::int32_t>(swapped ? __builtin_bswap32(row.word) : row.word));
    EXPECT_EQ(faultOf(bytes, types), row.fault);
  }
}

}  // namespace
