#include "record_map.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "kyv/connection_row_by_order.h"
#include "kyv/data_types.h"
#include "kyv/row2.h"
#include "tests/support/hostile_records.h"
#include "tests/support/record_copies.h"
#include "tests/support/record_cover.h"

namespace kyv_internal {
namespace {

using kyv_test::HandRecord;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

kyv::StreamSchema schemaOf(const std::vector<kyv_test::TestSchema::Column>& columns) {
  std::vector<kyv::StreamColumn> list;
  for (const auto& column : columns) list.push_back({column.name, column.type});
  return {"Trades", 5, list};
}

const kyv::StreamSchema& hostileSchema() {
  static const kyv::StreamSchema kSchema = schemaOf(kyv_test::hostileColumns());
  return kSchema;
}

RecordMap mapOf(std::string_view bytes, const kyv::StreamSchema& schema = hostileSchema()) {
  ValueDecoder values(schema, {});
  return mapRecord(bytes, values);
}

std::vector<unsigned int> typesOf(const kyv::StreamSchema& schema) {
  std::vector<unsigned int> types;
  for (int i = 0; i < schema.getColumnCount(); ++i) types.push_back(schema.getColumnType(i));
  return types;
}

// A broken binary value is no bytes for a reader.
std::string fieldOf(const RecordPart& part) {
  if (part.type == "binary" && (part.text == "no bytes" || part.state == PartState::kUnreadable)) {
    return part.bytes.empty() ? "-" : "";
  }
  if (part.state != PartState::kPresent) return "-";
  return part.text.starts_with('"') ? part.text.substr(1, part.text.size() - 2) : part.text;
}

// The texts of the schema's columns parted by commas, "-" where there is no value.
std::string fieldsOf(const RecordMap& map) {
  std::string fields;
  for (const std::size_t row : map.rows) {
    const RecordPart& part = map.parts[row];
    if (part.kind != PartKind::kColumn || part.type == "?") continue;
    fields += fields.empty() ? "" : ",";
    fields += fieldOf(part);
  }
  return fields;
}

// Where each segment begins and whose it is: "0 length, 4 operation".
std::string segmentsOf(const RecordMap& map, std::size_t from = 0) {
  std::string text;
  for (const Segment& segment : map.segments) {
    if (segment.bytes.begin < from) continue;
    text += (text.empty() ? "" : ", ") + std::to_string(segment.bytes.begin);
    for (const std::size_t part : segment.parts) text += " " + map.parts[part].mark;
  }
  return text;
}

std::string inOppositeOrder(std::string record, const kyv::StreamSchema& schema) {
  kyv_test::RecordCopy copy(record);
  copy->flipFromNativeByteOrder(typesOf(schema).data());
  std::string flipped = copy.bytes();
  flipped[12] = static_cast<char>(flipped[12] ^ 0x10);
  return flipped;
}

TEST(RecordMap, LabelsEveryByteOfASoundRecord) {
  const HandRecord record = {3,
                             5,
                             0x201,
                             4 | 2 << 24,
                             {48, 0, -1, 52, 60, 76, 84},
                             "07000000 2a00000000000000"
                             "0b000000160000002100000037000000 6f70617175652121"};
  HandRecord marked = record;
  marked.flags = 0x1201;
  const RecordMap map = mapOf(marked.bytes());
  EXPECT_TRUE(map.faults().empty()) << testing::PrintToString(map.faults());
  EXPECT_EQ(segmentsOf(map),
            "0 length, 4 operation, 8 stream, 12 flags, 16 counts, 20 @1, 24 @2, 28 @3, 32 @4, 36 @o1, 40 @o4, "
            "44 @end, 48 1, 52 4, 60 o1, 76 o4");
  const struct {
    const char* name;
    const char* type;
    const char* where;
    const char* text;
  } kRows[] = {{"Id", "integer", "0x30", "7"},
               {"Name", "string", "0", "NULL"},
               {"Raw", "binary", "-1", "shine through"},
               {"Amount", "long", "0x34", "42"},
               {"INSTRUMENT_LATENCY", "option", "0x3C", "11 22 33 55"},
               {"option slot 4", "option", "0x4C", "not interpreted"},
               {"end of data", "offset", "0x54", ""}};
  ASSERT_EQ(map.rows.size(), std::size(kRows));
  for (std::size_t i = 0; i < std::size(kRows); ++i) {
    const RecordPart& part = map.parts[map.rows[i]];
    EXPECT_EQ(part.name + "|" + part.type + "|" + part.where + "|" + part.text,
              std::string(kRows[i].name) + "|" + kRows[i].type + "|" + kRows[i].where + "|" + kRows[i].text);
    EXPECT_EQ(map.parts[part.tie].where, kRows[i].where);
  }
  const char* const header[] = {"84 bytes", "3, update (u)", "5, \"Trades\"",
                                "0x00001201, little-endian, shine through, INSTRUMENT_LATENCY, option slot 4",
                                "4 columns, 2 options"};
  for (std::size_t i = 0; i < std::size(header); ++i) EXPECT_EQ(map.parts[map.header[i]].text, header[i]);

  const RecordMap opposite = mapOf(inOppositeOrder(marked.bytes(), hostileSchema()));
  EXPECT_TRUE(opposite.faults().empty()) << testing::PrintToString(opposite.faults());
  EXPECT_EQ(segmentsOf(opposite), segmentsOf(map));
  EXPECT_EQ(fieldsOf(opposite), fieldsOf(map));
  EXPECT_EQ(opposite.parts[map.rows[4]].text, "11 22 33 55");
  EXPECT_THAT(opposite.parts[opposite.header[3]].text, HasSubstr("big-endian"));
}

// What lying records hold is known elsewhere; a map agrees, and finds fault with the same records as the library does.
TEST(RecordMap, AgreesWithReadersAndChecksAboutLyingRecords) {
  const std::vector<unsigned int> types = typesOf(hostileSchema());
  for (const kyv_test::HostileRecord& hostile : kyv_test::hostileRecords()) {
    const kyv_test::RecordCopy record(kyv_test::hostileBytes(hostile));
    const RecordMap map = mapOf(record.bytes());
    EXPECT_TRUE(kyv_test::coversEachByteOnce(map)) << hostile.what;
    if (hostile.fields != nullptr) {
      EXPECT_EQ(fieldsOf(map), hostile.fields) << hostile.what;
    }
    Row2::Fault fault;
    EXPECT_EQ(map.faults().empty(), Row2::validateUntrusted(fault, record.span(), 4, 0, types.data(), nullptr))
        << hostile.what << ": " << fault.message << testing::PrintToString(map.faults());
  }
}

TEST(RecordMap, SaysWhatIsWrongAndWhere) {
  const struct {
    std::vector<std::pair<std::size_t, std::int32_t>> pokes;
    std::vector<std::string> faults;
  } kCases[] = {
      {{{0, 70}}, {"length: only 62 of them are there"}},
      {{{0, -1}}, {"length: a record has at least 24 bytes"}},
      {{{0, 23}, {4, 2}, {12, 0x300}}, {"length: a record has at least 24 bytes"}},
      {{{0, 0x78787878}, {4, 2}, {16, 0xFFFFFF}}, {"length: a record has at most 268435456 bytes"}},
      {{{4, 2}}, {"operation: no operation has this number"}},
      {{{12, 0x300}}, {"flags: they name 2 options, the record has 0"}},
      {{{16, 0xFFFFFF}}, {"counts: their offset table would end at 0x4000014, the record ends at 0x3E"}},
      {{{24, 4}},
       {"offset of Name: its offset, 0x4, points before the values, which begin at 0x28",
        "Id: the next offset, 0x4, leaves it no bytes"}},
      {{{20, 99}}, {"offset of Id: its offset, 0x63, points past the record's end, 0x3E"}},
      {{{24, 50}},
       {"offset of Raw: its offset, 0x30, is not above the one before it, 0x32",
        "Name: the next offset, 0x30, leaves it no bytes"}},
      {{{36, 0}}, {"end of data: it is 0, and must be positive", "Amount: the next offset, 0x0, leaves it no bytes"}},
      {{{36, 63}},
       {"end of data: its offset, 0x3F, points past the record's end, 0x3E",
        "Amount: it would end at 0x3F, past the record's end, 0x3E"}},
      {{{36, 61}}, {"Amount: it has 7 bytes, a value of this type takes 8"}},
      {{{44, 0x64636261}}, {"Name: its last byte is 0x64, a string's is 0"}},
      {{{48, 0x03000000}}, {"Raw: its first 4 bytes promise 3 more, 2 follow"}},
      {{{32, 51}}, {"Raw: it has no room for its length, a binary's first 4 bytes"}},
  };
  for (const auto& row : kCases) {
    std::string record = kyv_test::hostileBytes({"", {}, 62, ""});
    for (const auto& [offset, word] : row.pokes) kyv_test::poke(record, offset, word);
    EXPECT_EQ(mapOf(record).faults(), row.faults);
  }
}

TEST(RecordMap, FindsFaultWithValuesThatOnlyTheirTypeForbids) {
  const kyv::StreamSchema schema("Trades", 5, {{"D", DataTypes::createFixedDecimal(4, 2)}});
  const HandRecord record = {1, 5, 0, 1, {28, 52}, "0000000000000000 1027000000000000 0204 000000000000"};
  EXPECT_THAT(mapOf(record.bytes(), schema).faults(), ElementsAre("D: column 0 DECIMAL value has more than 4 digits"));
}

TEST(RecordMap, MarksGapsPaddingAndOverlaps) {
  const struct {
    std::vector<std::int32_t> table;
    const char* segments;  // from the payload on
  } kCases[] = {
      {{44, 48, 0, 60, 68}, "40 gap, 44 1, 48 2, 53 pad, 60 4, 68 gap"},
      {{40, 48, 0, 60, 72}, "40 1, 44 pad, 48 2, 53 pad, 60 4, 68 pad"},
      {{40, 60, 48, 52, 72}, "40 1, 44 pad, 48 3 1, 52 4 1, 60 pad"},
      {{40, 0, 48, 44, 60}, "40 1, 44 4 1, 48 4, 52 pad, 60 gap"},
      {{0, 0, 0, 0, 40}, "40 gap"},
  };
  for (const auto& row : kCases) {
    const HandRecord record = {1, 5,         0,
                               4, row.table, "07000000 00000000 41424344 00000000 00000000 00000000 00000000 00000000"};
    const RecordMap map = mapOf(record.bytes());
    EXPECT_EQ(segmentsOf(map, 40), row.segments);
    EXPECT_TRUE(kyv_test::coversEachByteOnce(map)) << row.segments;
  }
}

TEST(RecordMap, ShowsWhatIsThereOfARecordThatIsCutOff) {
  const std::string whole = kyv_test::hostileBytes({"", {}, 62, ""});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::vector<unsigned char> exactly = kyv_test::exactly(whole.substr(0, size));
    const std::string copy = kyv_test::textOf(exactly);
    const RecordMap map = mapOf(copy);
    EXPECT_TRUE(kyv_test::coversEachByteOnce(map)) << size;
    EXPECT_FALSE(map.faults().empty()) << size;
    EXPECT_EQ(map.header.size(), 5U);
  }
  EXPECT_EQ(fieldsOf(mapOf(whole.substr(0, 50))), "7,abc,-,-");
  EXPECT_THAT(
      mapOf(whole.substr(0, 50)).faults(),
      ElementsAre("length: only 50 of them are there", "Raw: the file ends before it does: 2 of its 6 bytes are there",
                  "Amount: the file ends before it does: 0 of its 8 bytes are there"));
}

// A record may hold sixteen million columns; what is made of it is small all the same.
TEST(RecordMap, CountsColumnsBeyondItsLimit) {
  constexpr std::int32_t kColumns = 200'000;
  const std::int32_t payload = 24 + 4 * kColumns;
  HandRecord record = {
      1, 5, 0, static_cast<std::uint32_t>(kColumns), std::vector<std::int32_t>(kColumns, 0), "07000000 08000000"};
  record.table.front() = payload;
  record.table[1500] = payload + 4;
  record.table[1501] = payload + 4;
  record.table.push_back(payload + 8);
  const RecordMap map = mapOf(record.bytes());
  EXPECT_TRUE(kyv_test::coversEachByteOnce(map));
  EXPECT_LT(map.parts.size(), 2 * kMostMappedColumns + 20);
  EXPECT_THAT(map.faults(), ElementsAre("counts: the schema has 4 columns",
                                        "columns 1001 to 200000: 1 of their offsets make no sense"));
  EXPECT_EQ(fieldsOf(map), "7,-,-,-");
  EXPECT_EQ(map.parts[map.rows.back()].text, "columns not shown, or no value");
}

TEST(RecordMap, PassesOverColumnsThatAreClaimedAndNotThere) {
  std::string record = kyv_test::hostileBytes({"", {}, 62, ""});
  kyv_test::poke(record, 0, 0x07FFFFFF);
  kyv_test::poke(record, 16, 0xFFFFFF);
  const RecordMap map = mapOf(record);
  EXPECT_TRUE(kyv_test::coversEachByteOnce(map));
  EXPECT_THAT(map.faults(), Contains("columns 11 to 16777215: the file ends before 16777205 of their offsets"));
  EXPECT_THAT(map.faults(), Contains("end of data: the file ends before its offset"));
  EXPECT_EQ(segmentsOf(map, 20), "20 @1, 24 @2, 28 @3, 32 @4, 36 @5, 40 @6, 44 @7, 48 @8, 52 @9, 56 @10, 60 @...");
}

TEST(RecordMap, MakesNamesAndTextsHarmless) {
  const kyv::StreamSchema schema("a\x1B[2J", 5, {{"\x1B]0;<b>\a", DataTypes::kString}});
  const HandRecord record = {1, 5, 0, 1, {28, 35}, "1b5b316d0a ff 00"};
  const RecordMap map = mapOf(record.bytes(), schema);
  EXPECT_EQ(map.parts[map.rows.front()].name, "\\x1B]0;<b>\\x07");
  EXPECT_EQ(map.parts[map.rows.front()].text, "\"\\x1B[1m\\n\\xFF\"");
  EXPECT_EQ(map.parts[map.header[2]].text, "5, \"a\\x1B[2J\"");
}

}  // namespace
}  // namespace kyv_internal
