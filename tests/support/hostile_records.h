#pragma once

// Records that lie about themselves, and what is left of them for a reader that believes nothing.

#include <string>
#include <utility>
#include <vector>

#include "kyv/data_types.h"
#include "tests/support/bytes.h"
#include "tests/support/test_schema.h"

namespace kyv_test {

inline std::vector<TestSchema::Column> hostileColumns() {
  return {{"Id", DataTypes::kInteger},
          {"Name", DataTypes::kString},
          {"Raw", DataTypes::kBinary},
          {"Amount", DataTypes::kLong}};
}

struct HostileRecord {
  const char* what;
  std::vector<std::pair<std::size_t, std::int32_t>> pokes;  // byte offset and new word, on top of a sound record
  std::size_t length;                                       // bytes in memory; the length word says so too unless poked
  const char* fields;  // parted by commas, "-" a null one; null when the record has no known operation
};

// The sound record: columns at 40, 44, 48 and 54, the end of data at 62.
inline std::string hostileBytes(const HostileRecord& hostile) {
  const std::string payload = "07000000 61626300 00000002abcd 2a00000000000000";
  std::string record = HandRecord{7, 5, 0, 4, {40, 44, 48, 54, 62}, payload}.bytes().substr(0, hostile.length);
  poke(record, 0, static_cast<std::int32_t>(hostile.length));
  for (const auto& [offset, word] : hostile.pokes) poke(record, offset, word);
  return record;
}

inline std::vector<HostileRecord> hostileRecords() {
  const std::int32_t most = 0x7FFFFFFF;
  return {{"sound", {}, 62, "7,abc,ABCD,42"},
          {"one byte short", {}, 61, "7,abc,ABCD,-"},
          {"without payload", {}, 40, "-,-,-,-"},
          {"shorter than its offset table", {}, 39, "-,-,-,-"},
          {"a header alone", {}, 20, "-,-,-,-"},
          {"a length word alone", {}, 4, nullptr},
          {"a negative length", {{0, -1}}, 4, nullptr},
          {"an operation that none is", {{4, 2}}, 62, nullptr},
          {"sixteen million columns", {{16, 0x00FFFFFF}}, 62, "-,-,-,-"},
          {"255 options", {{16, -0x1000000 + 4}}, 62, "-,-,-,-"},
          {"columns that reach into the values", {{16, 9}}, 62, "-,-,-,-"},
          {"fewer columns than the schema", {{16, 1}}, 62, "7,-,-,-"},
          {"more columns than the schema", {{16, 5}, {40, 62}}, 62, "-,abc,ABCD,42"},
          {"an offset beyond all", {{20, most}}, 62, "-,abc,ABCD,42"},
          {"negative and zero offsets", {{20, -most}, {24, 0}}, 62, "-,-,ABCD,42"},
          {"an offset into the header", {{20, 4}}, 62, "-,abc,ABCD,42"},
          {"an offset into the table", {{20, 39}}, 62, "-,abc,ABCD,42"},
          {"an offset at the end", {{32, 62}}, 62, "7,abc,ABCD,-"},
          {"offsets that fall", {{24, 48}, {28, 44}}, 62, "7,-,00000002ABCD,42"},
          {"no end of data", {{36, 0}}, 62, "7,abc,ABCD,-"},
          {"an end of data beyond the record", {{36, 63}}, 62, "7,abc,ABCD,-"},
          {"a long of seven bytes", {{36, 61}}, 62, "7,abc,ABCD,-"},
          {"an integer of three bytes", {{24, 0}, {28, 43}}, 62, "-,-,0000000002ABCD,42"},
          {"a string without terminator", {{44, 0x64636261}}, 62, "7,abcd,ABCD,42"},
          {"a binary value of four gigabytes", {{48, -1}}, 62, "7,abc,ABCD,42"},
          {"a binary value of three bytes", {{32, 51}}, 62, "7,abc,,718121730"}};
}

}  // namespace kyv_test
