#include <gtest/gtest.h>

#include "services/malloc_ptr.h"
#include "tests/permutation/open_permutation.h"
#include "tests/support/bytes.h"

namespace {

using kyv_test::bytesOf;
using kyv_test::exactly;
using kyv_test::OpenPermutation;
using kyv_test::prepared;
using kyv_test::recordBytes;

constexpr std::uint16_t kTag = 0xBEEF;
constexpr std::int32_t kWhole = -1;

// A record by hand: its offsets as they are, and its values; the length is the real one unless it is given.
std::string compact(const std::vector<std::int32_t>& offsets, const std::string& values, std::int32_t length = kWhole) {
  const auto size = static_cast<std::int32_t>(6 + 4 * offsets.size() + values.size());
  std::string record = bytesOf(length == kWhole ? size : length) + bytesOf(kTag);
  for (const std::int32_t offset : offsets) record += bytesOf(offset);
  return record + values;
}

using Permute = bool (ConnectionPermutation::*)(void*, void**) const;

// The new record's bytes, "!" without one. The input lies in memory of exactly its size and stays as it is.
std::string permuted(const ConnectionPermutation& permutation, Permute permute, const std::string& record) {
  std::vector<unsigned char> bytes = exactly(record);
  void* out = nullptr;
  if (!(permutation.*permute)(bytes.data(), &out)) return "!";
  const kyv_internal::MallocPtr<void> owner(out);
  EXPECT_EQ(kyv_test::textOf(bytes), record);
  return recordBytes(out);
}

constexpr Permute kIn = &ConnectionPermutation::permuteBinaryRowIn;
constexpr Permute kOut = &ConnectionPermutation::permuteBinaryRowOut;

TEST(PermuteBinaryRow, PutsColumnsInTheOtherOrder) {
  const OpenPermutation permutation = prepared("a=x:b=y:c=z", "a b c d", "z w x y");
  const std::string platform = compact({22, 25, 26, 28}, "AAABCCDDDD");
  const std::string external = compact({22, 0, 24, 27}, "CCAAAB");
  EXPECT_EQ(permuted(permutation, kOut, platform), external);
  EXPECT_EQ(permuted(permutation, kIn, external), compact({22, 25, 26, 0}, "AAABCC"));
  EXPECT_EQ(permuted(permutation, kOut, compact({22, 0, 25, 0}, "AAACC")), compact({22, 0, 24, 0}, "CCAAA"));
  EXPECT_EQ(permuted(permutation, kOut, compact({0, 0, 0, 0}, "")), compact({0, 0, 0, 0}, ""));
  EXPECT_EQ(permuted(permutation, kOut, compact({22, 22, 23, 23}, "BCD")), compact({0, 0, 0, 22}, "B"))
      << "a value without bytes is NULL";
}

// Nothing outside a record's length is read, whatever it claims; the address sanitizer watches.
TEST(PermuteBinaryRow, TakesColumnsThatCannotBeForNull) {
  const OpenPermutation permutation = prepared("a=x:b=y", "a b", "y x");
  const struct {
    const char* what;
    std::string record;
    std::string out;
  } kCases[] = {
      {"an offset past the end", compact({14, 18}, "ABC"), compact({0, 0}, "")},
      {"an offset far past the end", compact({14, INT32_MAX}, "ABC"), compact({0, 0}, "")},
      {"an offset far past the end, with room in the output", compact({INT32_MAX, 14}, std::string(100, 'x')),
       compact({14, 0}, std::string(100, 'x'))},
      {"a negative offset", compact({14, -1}, "ABC"), compact({0, 0}, "")},
      {"the least offset", compact({INT32_MIN, 14}, "ABC"), compact({14, 0}, "ABC")},
      {"a falling offset", compact({16, 15}, "ABC"), compact({14, 0}, "BC")},
      {"an offset into the table", compact({4, 14}, "A"), compact({14, 15}, "A" + compact({4, 14}, "").substr(4, 10))},
      {"a length that ends in the table", compact({14, 15}, "", 12), compact({0, 0}, "")},
      {"a length without table", compact({}, "", 6), compact({0, 0}, "")},
      {"a length without columns' bytes", compact({14, 15}, "ABC", 14), compact({0, 0}, "")},
  };
  for (const auto& row : kCases) EXPECT_EQ(permuted(permutation, kOut, row.record), row.out) << row.what;

  std::string noTag = compact({0, 0}, "");
  noTag[4] = noTag[5] = '\0';
  for (const std::int32_t length : {5, 4, 0, -1, INT32_MIN}) {
    EXPECT_EQ(permuted(permutation, kOut, bytesOf(length)), noTag) << length;
  }
}

TEST(PermuteBinaryRow, FollowsTheLookupsOfDirectAndFailedObjects) {
  OpenPermutation permutation;
  std::string error;
  permutation.setPlatOrder({"a", "b"});
  permutation.setExternalCount(3);
  const std::string record = compact({14, 15}, "AB");
  EXPECT_EQ(permuted(permutation, kOut, record), compact({18, 19, 0}, "AB")) << "direct";
  permutation.setPermutation(true, "=x", error);
  permutation.setPlatOrder({"a", "b"});
  permutation.setExternalCount(3);
  EXPECT_EQ(permuted(permutation, kOut, record), compact({18, 19, 0}, "AB")) << "failed, and still direct";
  permutation.setPermutation(true, "a=x:b=y:c", error);
  EXPECT_EQ(permuted(permutation, kOut, record), compact({0, 0}, "")) << "failed";
  permutation.setPermutation(true, "a=x:b=y", error);
  EXPECT_EQ(permuted(permutation, kIn, record), compact({0, 0}, "")) << "not prepared";
}

// Column `position` of the input, twice as far, and nothing for 1.
bool twiceAsFar(const ConnectionPermutation*, int position, int* out) {
  *out = 2 * position;
  return position != 1;
}

bool alwaysTheFirst(const ConnectionPermutation*, int, int* out) {
  *out = 0;
  return true;
}

bool outside(const ConnectionPermutation*, int position, int* out) {
  *out = position == 0 ? -1 : INT32_MAX;
  return true;
}

TEST(PermuteBinaryRow, TakesAnyMap) {
  const ConnectionPermutation permutation;
  std::vector<unsigned char> bytes = exactly(compact({18, 20, 21}, "AABC"));
  const struct {
    int outCount;
    int inCount;
    bool (*map)(const ConnectionPermutation*, int, int*);
    std::string out;
  } kCases[] = {
      {2, 3, twiceAsFar, compact({14, 0}, "AA")},
      {3, 3, twiceAsFar, compact({18, 0, 0}, "AA")},
      {3, 3, alwaysTheFirst, compact({18, 20, 22}, "AAAAAA")},
      {1, 1, alwaysTheFirst, compact({10}, "AABC")},  // a record of one column, whose bytes are all that follow
      {1, 0, alwaysTheFirst, compact({0}, "")},
      {2, 3, outside, compact({0, 0}, "")},
      {0, 3, alwaysTheFirst, compact({}, "")},
      {-1, -1, alwaysTheFirst, compact({}, "")},
  };
  for (const auto& row : kCases) {
    void* out = nullptr;
    ASSERT_TRUE(permutation.permuteBinaryRow(bytes.data(), &out, row.outCount, row.inCount, row.map));
    const kyv_internal::MallocPtr<void> owner(out);
    EXPECT_EQ(recordBytes(out), row.out) << row.outCount << ' ' << row.inCount;
  }
}

TEST(PermuteBinaryRow, RefusesRecordsOfMoreThanTwoGigabytes) {
  const ConnectionPermutation permutation;
  std::vector<unsigned char> bytes = exactly(compact({10}, std::string(1 << 20, 'x')));
  void* out = bytes.data();
  EXPECT_FALSE(permutation.permuteBinaryRow(bytes.data(), &out, 2048, 1, alwaysTheFirst));
  EXPECT_EQ(out, nullptr);
}

TEST(ValidateBinaryRow, AcceptsARecordOrSaysWhatIsWrong) {
  const std::string record = compact({18, 0, 19}, "ABC");
  const struct {
    std::string bytes;
    int columns;
    const char* error;  // empty for a good one
  } kCases[] = {
      {record, 3, ""},
      {record + "more", 3, ""},
      {compact({18, 18, 21}, "ABC"), 3, ""},
      {compact({}, ""), 0, ""},
      {record, -1, ""},
      {"", 0, "compact record is too short for 0 columns: 0 bytes instead of at least 6"},
      {record.substr(0, 17), 3, "compact record is too short for 3 columns: 17 bytes instead of at least 18"},
      {record, INT32_MAX,
       "compact record is too short for 2147483647 columns: 21 bytes instead of at least 8589934594"},
      {record.substr(0, 20), 3, "compact record claims 21 bytes, which is not between 18 and 20"},
      {compact({18, 0, 19}, "ABC", 17), 3, "compact record claims 17 bytes, which is not between 18 and 21"},
      {compact({18, 0, 19}, "ABC", -5), 3, "compact record claims -5 bytes, which is not between 18 and 21"},
      {compact({18, 0, 22}, "ABC"), 3, "compact record has the offset 22 at column 2, which is not between 18 and 21"},
      {compact({17, 0, 19}, "ABC"), 3, "compact record has the offset 17 at column 0, which is not between 18 and 21"},
      {compact({20, 0, 19}, "ABC"), 3, "compact record has the offset 19 at column 2, which is not between 20 and 21"},
      {compact({18, -1, 19}, "ABC"), 3, "compact record has the offset -1 at column 1, which is not between 18 and 21"},
  };
  for (const auto& row : kCases) {
    const std::vector<unsigned char> bytes = exactly(row.bytes);
    std::string error;
    const bool good = ConnectionPermutation::validateBinaryRow(bytes.data(), bytes.size(), row.columns, error);
    EXPECT_EQ(error, row.error);
    EXPECT_EQ(good, error.empty());
  }
}

}  // namespace
