#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "kyv/row2.h"
#include "tests/support/bytes.h"
#include "tests/support/record_copies.h"
#include "tests/support/written.h"

namespace {

using kyv_test::HandRecord;
using kyv_test::poke;
using kyv_test::RecordCopy;
using kyv_test::written;

std::string dumpOf(const std::string& bytes, int length, int maxOffsets) {
  RecordCopy record(bytes);
  return written([&](std::FILE* out) { Row2::dumpRow2(out, record.get(), length, maxOffsets); });
}

TEST(Row2Dump, WritesBytesInGroupsAndLines) {
  std::string bytes;
  for (char c = 0; c < 40; ++c) bytes += c;
  const struct {
    int count;
    const char* text;
  } rows[] = {
      {-1, ""},
      {0, ""},
      {1, "00"},
      {8, "00 01 02 03 04 05 06 07"},
      {9, "00 01 02 03 04 05 06 07  08"},
      {32, "00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F  10 11 12 13 14 15 16 17  18 19 1A 1B 1C 1D 1E 1F"},
      {40,
       "00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F  10 11 12 13 14 15 16 17  18 19 1A 1B 1C 1D 1E 1F\n"
       "--20 21 22 23 24 25 26 27"}};
  for (const auto& row : rows) {
    EXPECT_EQ(written([&](std::FILE* out) { Row2::hexdump(out, bytes.data(), row.count, "--"); }), row.text)
        << row.count;
  }
  EXPECT_EQ(written([](std::FILE* out) { Row2::hexdump(out, "\xAB\xFF", 2, ""); }), "AB FF");
}

TEST(Row2Dump, WritesHeaderOffsetsAndPayload) {
  const std::string bytes = HandRecord{7, 17, 0x10101, 0x01000003, {40, 0, -1, 44, 46}, "07000000 6162"}.bytes();
  const std::string header = "Len:0x2e Flags:0x00010101 Op:7 Cols:0x3 Opts:0x1\n";
  RecordCopy record(bytes);
  EXPECT_EQ(written([&](std::FILE* out) { Row2::dumpRow2Fixed(out, record.get()); }), header);
  const struct {
    int length, maxOffsets;
    const char* rest;
  } rows[] = {{46, 5, "  Offsets: 0x28 0x0 0xffffffff 0x2c 0x2e\n  07 00 00 00 61 62\n"},
              {1000, 1000, "  Offsets: 0x28 0x0 0xffffffff 0x2c 0x2e\n  07 00 00 00 61 62\n"},
              {42, 2, "  Offsets: 0x28 0x0\n  07 00\n"},
              {40, 1, "  Offsets: 0x28\n  \n"},
              {0, 5, "  Offsets: 0x28 0x0 0xffffffff 0x2c 0x2e\n  \n"},
              {46, 0, "  Offsets:\n  07 00 00 00 61 62\n"},
              {-1, -1, "  Offsets:\n  \n"}};
  for (const auto& row : rows) EXPECT_EQ(dumpOf(bytes, row.length, row.maxOffsets), header + row.rest) << row.length;
}

TEST(Row2Dump, IndentsEveryLineOfThePayload) {
  EXPECT_EQ(dumpOf(HandRecord{1, 1, 0, 0, {57}, std::string(66, '1')}.bytes(), 57, 1),
            "Len:0x39 Flags:0x00000000 Op:1 Cols:0x0 Opts:0x0\n"
            "  Offsets: 0x39\n"
            "  11 11 11 11 11 11 11 11  11 11 11 11 11 11 11 11  11 11 11 11 11 11 11 11  11 11 11 11 11 11 11 11\n"
            "  11\n");
}

TEST(Row2Dump, ShowsOfALyingRecordWhatIsThere) {
  std::string many = HandRecord{-2, 1, 0, 0xFFFFFFFF, {1, 2, 3}, ""}.bytes();
  EXPECT_EQ(dumpOf(many, 32, 1000),
            "Len:0x20 Flags:0x00000000 Op:-2 Cols:0xffffff Opts:0xff\n  Offsets: 0x1 0x2 0x3\n  \n");
  poke(many, 0, 8);
  EXPECT_EQ(dumpOf(many.substr(0, 8), 8, 9), "Len:0x8 Flags:0x00000000 Op:-2 Cols:0x0 Opts:0x0\n  Offsets:\n  \n");
  poke(many, 0, -1);
  EXPECT_EQ(dumpOf(many.substr(0, 4), 4, 9),
            "Len:0xffffffff Flags:0x00000000 Op:0 Cols:0x0 Opts:0x0\n  Offsets:\n  \n");
}

}  // namespace
