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
using kyv_test::HandRecord;
using kyv_test::inOppositeOrder;
using kyv_test::poke;
using kyv_test::RecordCopy;
using kyv_test::toHex;

// The message of a check, and an empty one when the record passes.
template <class Check>
std::string messageOf(Check check) {
  std::string error = "untouched";
  if (check(error)) return error == "untouched" ? "" : "a message although it passed";
  return error;
}

// Of a header alone, all columns NULL.
HandRecord emptyColumns(std::uint32_t columns) {
  std::vector<std::int32_t> table(columns, 0);
  table.push_back(static_cast<std::int32_t>(24 + 4 * columns));
  return {1, 5, 0, columns, table, "00"};
}

TEST(Row2Checks, KnowTheOperations) {
  const struct {
    std::int32_t operation;
    const char* message;
  } rows[] = {{0, "unexpected opcode 0x00"},
              {2, "unexpected opcode 0x02"},
              {14, "unexpected opcode 0x0E"},
              {-1, "unexpected opcode 0xFFFFFFFF"},
              {257, "unexpected opcode 0x101"}};
  for (const std::int32_t known : {1, 3, 5, 7, 13}) {
    RecordCopy record(HandRecord{known, 5, 0, 0, {24}, ""}.bytes());
    EXPECT_EQ(messageOf([&](std::string& e) { return record->validateOpcode(e); }), "") << known;
  }
  for (const auto& row : rows) {
    RecordCopy record(HandRecord{row.operation, 5, 0, 0, {24}, ""}.bytes());
    EXPECT_EQ(messageOf([&](std::string& e) { return record->validateOpcode(e); }), row.message) << row.operation;
  }
}

TEST(Row2Checks, CountColumnsOfFixedSchemasAndOfGroups) {
  const struct {
    std::uint32_t columns;
    int fixed, repeat;
    const char* message;
  } rows[] = {{2, 2, 0, ""},
              {0, 0, 0, ""},
              {2, 2, 3, ""},
              {5, 2, 3, ""},
              {8, 2, 3, ""},
              {4, 2, 3, "incorrect column count, expected 2[3]* columns, row contains 4 columns"},
              {1, 2, 1, "incorrect column count, expected 2[1]* columns, row contains 1 columns"},
              {1, 2, 0, "incorrect column count, expected 2 columns, row contains 1 columns"},
              {3, 2, 0, "incorrect column count, expected 2 columns, row contains 3 columns"},
              {3, INT_MAX, INT_MAX,
               "incorrect column count, expected 2147483647[2147483647]* columns, row contains 3 columns"}};
  for (const auto& row : rows) {
    RecordCopy record(emptyColumns(row.columns).bytes());
    EXPECT_EQ(messageOf([&](std::string& e) { return record->validateColumnCount(e, row.fixed, row.repeat); }),
              row.message)
        << row.columns << " columns, " << row.fixed << '[' << row.repeat << ']';
  }
}

TEST(Row2Checks, CountOptionsByTheirFlags) {
  const struct {
    std::uint32_t flags, options;
    const char* message;
  } rows[] = {{0, 0, ""},
              {0xFFFF00FF, 0, ""},
              {0x8310, 3, ""},
              {0xFF00, 8, ""},
              {0x100, 0, "incorrect option count, flags 0x00000100 indicate 1 options, row contains 0 options"},
              {0xFF11, 255, "incorrect option count, flags 0x0000FF11 indicate 8 options, row contains 255 options"}};
  for (const auto& row : rows) {
    RecordCopy record(HandRecord{1, 5, row.flags, row.options << 24, {0}, ""}.bytes());
    EXPECT_EQ(messageOf([&](std::string& e) { return record->validateOptionCount(e); }), row.message)
        << row.flags << ' ' << row.options;
  }
}

// Two columns, an option and 16 bytes of payload from 36 to 52.
TEST(Row2Checks, WantOffsetsThatRiseWithinTheRecord) {
  const struct {
    std::vector<std::int32_t> table;
    const char* message;
  } rows[] = {
      {{36, 40, 44, 52}, ""},
      {{0, -1, 0, 36}, ""},
      {{51, INT_MIN, 0, 52}, ""},
      {{36, 52, 0, 52}, "column 1 offset 0x34 is invalid, past record length of 0x34"},
      {{INT_MAX, 0, 0, 52}, "column 0 offset 0x7FFFFFFF is invalid, past record length of 0x34"},
      {{36, 40, 53, 52}, "option 0 offset 0x35 is invalid, past record length of 0x34"},
      {{35, 0, 0, 52}, "column 0 offset 0x23 is invalid, overlapping with previous known offset 0x23"},
      {{40, 40, 0, 52}, "column 1 offset 0x28 is invalid, overlapping with previous known offset 0x28"},
      {{40, 0, 39, 52}, "option 0 offset 0x27 is invalid, overlapping with previous known offset 0x28"},
      {{36, 40, 44, 53}, "end-of-data offset 0x35 is invalid, past record length of 0x34"},
      {{36, 40, 44, 44}, "end-of-data offset 0x2C is invalid, overlapping with previous known offset 0x2C"},
      {{0, 0, 0, 0}, "end-of-data offset 0x0 is invalid, overlapping with previous known offset 0x23"},
      {{0, 0, 0, INT_MIN}, "end-of-data offset 0x80000000 is invalid, overlapping with previous known offset 0x23"}};
  for (const auto& row : rows) {
    RecordCopy record(HandRecord{1, 5, 0x100, 0x01000002, row.table, std::string(32, '0')}.bytes());
    EXPECT_EQ(messageOf([&](std::string& e) { return record->validateColumnOffsets(e); }), row.message);
    EXPECT_EQ(messageOf([&](std::string& e) { return record->validateVar(e, 9, 0, nullptr, nullptr); }), row.message);
  }
}

struct TypesRow {
  std::vector<std::int32_t> table;
  std::string payload;
  const char* message;
  std::vector<bool> nullable = {};                        // empty: none is given
  std::vector<unsigned int> types = {kString, kInteger};  // of two fixed columns and groups of one
};

std::string typesMessage(const TypesRow& row) {
  const auto columns = static_cast<std::uint32_t>(row.table.size()) - 1;
  RecordCopy record(HandRecord{1, 5, 0, columns, row.table, row.payload}.bytes());
  const auto nullable = std::make_unique<bool[]>(row.nullable.size());
  std::copy(row.nullable.begin(), row.nullable.end(), nullable.get());
  return messageOf([&](std::string& error) {
    return record->validateColumnTypes(error, 2, 1, row.types.data(), row.nullable.empty() ? nullptr : nullable.get());
  });
}

TEST(Row2Checks, WantValuesThatAreLongEnoughAndAllowed) {
  const std::string integers = "01020304 01020304 01020304";
  const std::vector<unsigned int> named = {kString, kInteger, kInteger, kLong, kFloat};
  const TypesRow rows[] = {
      {{32, 33, 37}, "00 01020304", ""},
      {{32, 36, 44}, "41004200 0102030405060708", ""},  // padding
      {{0, -1, 32}, "", ""},
      {{32, 35, 39}, "610041 01020304", "column 0 STRING is not 0-terminated (last byte 0x41 at offset 2)"},
      {{32, 0, 33}, "ff", "column 0 STRING is not 0-terminated (last byte 0xFF at offset 0)"},
      {{32, 33, 36}, "00 010203", "column 1 INTEGER length 0x3 is too short (need 0x4)"},
      {{40, 36, 44}, integers, "column 0 STRING length 0xFFFFFFFC is invalid"},
      {{32, INT_MAX, 36}, integers, "column 0 STRING length 0x7FFFFFDF is invalid"},
      {{0, INT_MAX, INT_MIN}, integers, "column 1 INTEGER length 0x1 is too short (need 0x4)"},
      {{0, 32, 36}, integers, "column 0 contains a NULL, not allowed", {false, true}},
      {{32, -7, 33}, "00", "column 1 contains a SHINE, not allowed", {true, false}},
      {{32, 55, 59},
       std::string(54, '0'),
       "column 0 DECIMAL(10,2) length 0x17 is too short (need 0x18)",
       {},
       {DataTypes::createFixedDecimal(10, 2), kInteger}},
      {{32, 33, 34}, "0102", "", {}, {kBinary, kUnnamed}},  // not checked
      // A group's columns are those of the schema, but the name of a type is that at the column's own index.
      {{0, 0, 44, 0, 45, 47}, "00 4100", "", {true, true, true}, {kString, kInteger, kString, kLong, kLong}},
      {{0, 0, 44, 48, 52, 53},
       integers,
       "column 4 FLOAT length 0x1 is too short (need 0x4)",
       {true, true, true},
       named},
      {{0, 0, 44, 0, 48, 52}, integers, "column 3 contains a NULL, not allowed", {true, true, false}, named}};
  for (const TypesRow& row : rows) EXPECT_EQ(typesMessage(row), row.message) << testing::PrintToString(row.table);
}

TEST(Row2Checks, NeedASchemaForTypesOnlyWhereThereAreColumns) {
  const bool never = false;
  const unsigned int type = kInteger;
  RecordCopy none(emptyColumns(0).bytes()), two(emptyColumns(2).bytes());
  EXPECT_EQ(messageOf([&](std::string& e) { return two->validateColumnTypes(e, 2, 0, nullptr, &never); }), "");
  EXPECT_EQ(messageOf([&](std::string& e) { return none->validateColumnTypes(e, 1, 0, &type, &never); }), "");
  EXPECT_EQ(messageOf([&](std::string& e) { return two->validateColumnTypes(e, 1, 0, &type, nullptr); }),
            "incorrect column count, expected 1 columns, row contains 2 columns");
}

TEST(Row2Checks, WantLatenciesOfWholeWordsAndAtLeastFour) {
  const char* const wrong = " is incorrect, must be a multiple of 4 and at least 0x10";
  const struct {
    std::uint32_t flags;
    std::vector<std::int32_t> table;  // of the options in slots 0 and 1, in a record of 52 bytes
    std::string length;               // in the message; empty when the record passes
  } rows[] = {{0x300, {32, 36, 52}, ""},     {0x300, {0, 32, 52}, ""},      {0x300, {32, 36, 51}, "0xF"},
              {0x300, {32, 40, 52}, "0xC"},  {0x300, {32, 34, 52}, "0x12"}, {0x300, {32, 0, 52}, "0x0"},
              {0x300, {32, -36, 52}, "0x0"}, {0x500, {32, 36, 37}, ""},     {0x600, {36, 0, 52}, ""},
              {0x600, {32, 40, 52}, "0x8"}};
  for (const auto& row : rows) {
    RecordCopy record(HandRecord{1, 5, row.flags, 0x02000000, row.table, std::string(40, '0')}.bytes());
    const std::string message = row.length.empty() ? "" : "option INSTRUMENT_LATENCY length " + row.length + wrong;
    EXPECT_EQ(messageOf([&](std::string& e) { return record->validateOptionSizes(e); }), message) << message;
    EXPECT_EQ(messageOf([&](std::string& e) { return record->validateOptionContents(e); }), "");
  }
  RecordCopy uncounted(HandRecord{1, 5, 0x300, 0, {24}, "00"}.bytes());
  EXPECT_EQ(messageOf([&](std::string& e) { return uncounted->validateOptionSizes(e); }),
            std::string("option INSTRUMENT_LATENCY length 0x0") + wrong);
}

TEST(Row2Checks, ReadNothingBehindTheClaimedLength) {
  const unsigned int types[] = {kInteger, kString, kBinary, kLong, kInteger, kInteger, kInteger, kInteger, kInteger};
  for (const auto& hostile : kyv_test::hostileRecords()) {
    SCOPED_TRACE(hostile.what);
    RecordCopy record(kyv_test::hostileBytes(hostile));
    std::string unused;
    record->validateOpcode(unused);
    record->validateColumnCount(unused, 4, 0);
    record->validateOptionCount(unused);
    record->validateColumnOffsets(unused);
    record->validateColumnTypes(unused, 4, 0, types, nullptr);
    record->validateColumnTypes(unused, 8, 1, types, nullptr);
    record->validateOptionSizes(unused);
    record->validateVar(unused, 4, 0, types, nullptr);
    const std::string before = record.bytes();
    record->validateVarToNativeByteOrder(unused, 4, 0, types, nullptr);
    EXPECT_EQ(record.bytes(), before) << "a record in host order stays as it is";
  }
}

TEST(Row2Checks, SayThatARecordIsTooShort) {
  const struct {
    std::int32_t length;
    std::uint32_t counts;
    const char* message;
  } rows[] = {
      {23, 0, "record is too short for 0 columns and 0 options, payload offset 0x18, record length 0x17"},
      {4, 7, "record is too short for 0 columns and 0 options, payload offset 0x18, record length 0x4"},
      {-1, 7, "record is too short for 0 columns and 0 options, payload offset 0x18, record length 0xFFFFFFFF"},
      {39, 4, "record is too short for 4 columns and 0 options, payload offset 0x28, record length 0x27"},
      {40, 0xFFFFFFFF,
       "record is too short for 16777215 columns and 255 options, payload offset 0x4000410, record length 0x28"}};
  for (const auto& row : rows) {
    std::string bytes = HandRecord{1, 5, 0, row.counts, {24, 0, 0, 0, 0}, ""}.bytes();
    poke(bytes, 0, row.length);
    RecordCopy record(bytes.substr(0, static_cast<std::size_t>(std::max(row.length, 4))));
    const int columns = row.length < 20 ? 0 : static_cast<int>(row.counts & 0xFFFFFF);
    EXPECT_EQ(messageOf([&](std::string& e) { return record->validateColumnCount(e, columns, 0); }), row.message);
    EXPECT_EQ(messageOf([&](std::string& e) { return record->validateColumnOffsets(e); }), row.message);
  }
  RecordCopy header(HandRecord{1, 5, 0x10, 0, {}, ""}.bytes().substr(0, 16).replace(0, 1, "\x10"));
  const unsigned int type = kInteger;
  EXPECT_EQ(messageOf([&](std::string& e) { return header->validateVarToNativeByteOrder(e, 0, 0, &type, nullptr); }),
            "record is too short for 0 columns and 0 options, payload offset 0x18, record length 0x10");
}

// --- Records of the opposite byte order -----------------------------------------------------------------------------

constexpr unsigned int kForeignTypes[] = {kInteger, kString};
constexpr bool kIdIsGiven[] = {false, true};

// An integer, a string, and the options in slots 0 and 1.
HandRecord recordWithOptions() {
  return {7, 5, 0x301, 0x02000002, {40, 44, 46, 48, 64}, "01020304 6100 aabb 11121314 21222324 31323334 41424344"};
}

std::string foreignRecord() {
  std::string bytes = inOppositeOrder(recordWithOptions(), "04030201 6100 aabb 14131211 24232221 34333231 44434241");
  bytes[12] = static_cast<char>(bytes[12] ^ 0x10);
  return bytes;
}

bool toNative(RecordCopy& record, std::string& error) {
  return record->validateVarToNativeByteOrder(error, 2, 0, kForeignTypes, kIdIsGiven);
}

TEST(Row2ForeignChecks, ConvertARecordThatIsWell) {
  RecordCopy record(foreignRecord());
  EXPECT_EQ(messageOf([&](std::string& e) { return toNative(record, e); }), "");
  EXPECT_EQ(toHex(record.bytes()), toHex(recordWithOptions().bytes()));
}

TEST(Row2ForeignChecks, NeedTypes) {
  for (const std::string& bytes : {foreignRecord(), recordWithOptions().bytes()}) {
    RecordCopy record(bytes);
    EXPECT_EQ(
        messageOf([&](std::string& e) { return record->validateVarToNativeByteOrder(e, 2, 0, nullptr, nullptr); }),
        "Row2::validateToNativeByteOrder requires the types argument to be non-NULL");
    EXPECT_EQ(toHex(record.bytes()), toHex(bytes));
  }
}

TEST(Row2ForeignChecks, CheckLessInARecordOfHostOrder) {
  HandRecord wrong = recordWithOptions();
  wrong.table = {0, 40, 41, 42, 43};  // a NULL where none may be, a string without end, latencies of a byte
  RecordCopy record(wrong.bytes());
  EXPECT_EQ(messageOf([&](std::string& e) { return toNative(record, e); }), "");
  EXPECT_EQ(
      messageOf([&](std::string& e) { return record->validateVarToNativeByteOrder(e, 7, 0, kForeignTypes, nullptr); }),
      "");
  EXPECT_EQ(toHex(record.bytes()), toHex(wrong.bytes()));
}

// The record after a check refused it: byte order and counts are converted, and as many of the rest as stand in order
// before that check.
enum Converted { kCounts, kOffsets, kColumns };

std::string convertedInPart(std::string foreign, Converted last) {
  foreign[12] = static_cast<char>(foreign[12] ^ 0x10);
  kyv_test::reverseBytes(foreign, 16, 4);
  if (last == kCounts) return foreign;
  for (const std::size_t word : {8, 20, 24, 28, 32, 36}) kyv_test::reverseBytes(foreign, word, 4);
  if (last == kColumns) kyv_test::reverseBytes(foreign, 40, 4);
  return foreign;
}

TEST(Row2ForeignChecks, RunEachCheckInItsOrder) {
  const struct {
    std::vector<std::pair<std::size_t, std::uint32_t>> pokes;  // words as the record's own order has them
    Converted converted;
    const char* message;
  } rows[] = {
      {{{16, 0x02000003}, {24, 0}}, kCounts, "incorrect column count, expected 2 columns, row contains 3 columns"},
      {{{16, 0xFF000002}},
       kCounts,
       "record is too short for 2 columns and 255 options, payload offset 0x41C, record length 0x40"},
      {{{16, 0x01000002}},
       kCounts,
       "incorrect option count, flags 0x00000301 indicate 2 options, row contains 1 options"},
      {{{28, 65}}, kOffsets, "option 0 offset 0x41 is invalid, past record length of 0x40"},
      {{{20, 0}, {24, 0x7FFFFFFF}}, kOffsets, "column 1 offset 0x7FFFFFFF is invalid, past record length of 0x40"},
      {{{20, 0}}, kOffsets, "column 0 contains a NULL, not allowed"},
      {{{20, 41}}, kOffsets, "column 0 INTEGER length 0x3 is too short (need 0x4)"},
      {{{28, 45}}, kOffsets, "column 1 STRING is not 0-terminated (last byte 0x61 at offset 0)"},
      {{{36, 63}},
       kColumns,
       "option INSTRUMENT_LATENCY length 0xF is incorrect, must be a multiple of 4 and at least 0x10"}};
  for (const auto& row : rows) {
    std::string bytes = foreignRecord();
    for (const auto& [offset, word] : row.pokes) {
      poke(bytes, offset, static_cast<std::int32_t>(__builtin_bswap32(word)));
    }
    RecordCopy record(bytes);
    EXPECT_EQ(messageOf([&](std::string& e) { return toNative(record, e); }), row.message);
    EXPECT_EQ(toHex(record.bytes()), toHex(convertedInPart(bytes, row.converted))) << row.message;
  }
}

}  // namespace
