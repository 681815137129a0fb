#include "platform/sdk/stream_record.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "kyv/adapter_util.h"

namespace kyv_internal {
namespace {

constexpr std::uint32_t kDecimal = 30U | 2U << 8 | 10U << 14;
const StreamDefinition kStream{"T", 9, {{"Id", 2}, {"Name", 5}, {"Bytes", 28}, {"Price", kDecimal}}, {1, 2, 3}};

// The record that the row converters make of the texts; "" is NULL.
std::string recordOf(const std::vector<const char*>& texts, char operation = 'p') {
  std::vector<kyv::StreamColumn> columns;
  for (const auto& column : kStream.columns) columns.push_back({column.name, column.type});
  kyv::StreamSchema schema(kStream.name, kStream.id, columns);
  ConnectionErrors errors;
  ConnectionRowByOrder row;
  row.setStreamType(&schema, false);
  row.setOp(operation);
  for (const char* const text : texts) row.appendFieldAsString(*text != '\0' ? text : nullptr);
  void* const record = row.toRow(1, &errors);
  EXPECT_NE(record, nullptr) << errors.report();
  std::int32_t size = 0;
  std::memcpy(&size, record, sizeof size);
  std::string bytes(static_cast<const char*>(record), static_cast<std::size_t>(size));
  std::free(record);
  return bytes;
}

std::string whyNot(const std::string& bytes, const StreamDefinition& stream = kStream) {
  const std::string copy(bytes);  // of exactly this size, for the sanitizer
  Failure failure;
  return StreamRecord::check(stream, copy, failure) ? "" : failure.message;
}

std::string keyOf(const std::string& bytes) {
  Failure failure;
  std::string key;
  const auto record = StreamRecord::check(kStream, bytes, failure);
  return record && record->appendKey(key, failure) ? key : "failed: " + failure.message;
}

TEST(StreamRecord, RefusesWhatTheStreamCannotTake) {
  const std::string good = recordOf({"7", "Ada", "00ff", "2.50"});
  ASSERT_EQ(whyNot(good), "");
  constexpr std::int32_t kPayload = 40;
  const struct {
    std::size_t position;
    std::int32_t word;
    const char* message;
  } cases[] = {
      {0, static_cast<std::int32_t>(good.size()) - 1, "stream 'T': 82 bytes are no record of that length"},
      {0, -1, "stream 'T': 82 bytes are no record of that length"},
      {4, 2, "stream 'T': 2 is no operation"},
      {12, 0x10, "stream 'T': the record has the other byte order"},
      {16, 3, "stream 'T' has 4 columns, the record 3"},
      {16, 4 | 0x7F << 24, "stream 'T': the record is too short for its columns"},
      {20, kPayload - 1, "stream 'T': the record's offsets make no sense"},
      {20, std::numeric_limits<std::int32_t>::max(), "stream 'T': the record's offsets make no sense"},
      {24, kPayload, "stream 'T': the record's offsets make no sense"},
      {20, kPayload + 1, "stream 'T': the value of column 'Id' is no whole long"},
      {24, kPayload + 7, "stream 'T': the value of column 'Id' is no whole long"},
      {28, kPayload + 9, "stream 'T': the value of column 'Name' is no whole string"},
      {kPayload + 12, -1, "stream 'T': the value of column 'Bytes' is no whole binary"},
      {32, kPayload + 19, "stream 'T': the value of column 'Price' is no whole decimal"},
      {28, -5, "stream 'T': column 'Bytes' shines through, which is not stored"},
      {36, 83, "stream 'T': the record's offsets make no sense"},
      {36, 0, "stream 'T': the record's offsets make no sense"},
  };
  for (const auto& [position, word, message] : cases) {
    std::string bytes = good;
    std::memcpy(bytes.data() + position, &word, sizeof word);
    if (position == 32) std::memcpy(bytes.data() + 36, "\x40\0\0\0", 4);
    EXPECT_EQ(whyNot(bytes), message) << "at " << position;
  }
  for (std::size_t size = 0; size < good.size(); ++size) EXPECT_NE(whyNot(good.substr(0, size)), "") << size;
  StreamDefinition log = kStream;
  log.key.clear();
  EXPECT_EQ(whyNot(good, log), "");
  EXPECT_EQ(whyNot(recordOf({"7", "", "", ""}, 'u'), log), "stream 'T' has no key: rows can only be added");
}

TEST(StreamRecord, KeysAreEqualForEqualValuesOnly) {
  const std::string key = keyOf(recordOf({"7", "Ada", "00ff", "2.5"}));
  EXPECT_EQ(keyOf(recordOf({"", "Ada", "00ff", "2.50"}, 'd')), key) << "other columns do not matter";
  for (const std::vector<const char*>& other : {std::vector{"7", "ada", "00ff", "2.5"},
                                                {"7", "Ada", "00", "2.5"},
                                                {"7", "Ad", "00ff", "2.5"},
                                                {"7", "Ada", "00ff", "2.51"}}) {
    EXPECT_NE(keyOf(recordOf(other)), key) << other[1] << ' ' << other[2] << ' ' << other[3];
  }
  EXPECT_EQ(keyOf(recordOf({"7", "", "00ff", "2.5"})), "failed: stream 'T': the key column 'Name' is NULL");

  std::string padded = recordOf({"7", "Ada", "00ff", "2.5"});
  const std::string unusedByte(1, '\x55');
  padded.replace(padded.size() - 1, 1, unusedByte);
  EXPECT_EQ(keyOf(padded), key) << "what a decimal does not use is no part of its value";
}

TEST(StreamDefinition, MustMakeSense) {
  const struct {
    StreamDefinition stream;
    const char* message;
  } cases[] = {
      {{"", 1, {{"a", 2}}, {}}, "a stream needs a name"},
      {{"S", 1, {}, {}}, "stream 'S': 0 columns are none, or too many"},
      {{"S", 1, {{"a", 2}, {"a", 3}}, {}}, "stream 'S': two columns are called 'a', or one has no name"},
      {{"S", 1, {{"", 2}}, {}}, "stream 'S': two columns are called '', or one has no name"},
      {{"S", 1, {{"a", 6}}, {}}, "stream 'S': column 'a' has no type that can be stored (6)"},
      {{"S", 1, {{"a", 31}}, {}}, "stream 'S': column 'a' has no type that can be stored (31)"},
      {{"S", 1, {{"a", 2}}, {1}}, "stream 'S': a column of the key is not there, or is named twice"},
      {{"S", 1, {{"a", 2}}, {0, 0}}, "stream 'S': a column of the key is not there, or is named twice"},
      {kStream, ""},
  };
  for (const auto& [stream, message] : cases) {
    Failure failure;
    EXPECT_EQ(checkDefinition(stream, failure), *message == '\0');
    EXPECT_EQ(failure.message, message);
  }
}

}  // namespace
}  // namespace kyv_internal
