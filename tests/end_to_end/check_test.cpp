// Runs `kyv check` on records as users do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/end_to_end/records_fixture.h"
#include "tests/support/bytes.h"

namespace {

using kyv_test::Outcome;
using kyv_test::poke;
using kyv_test::read;
using testing::HasSubstr;
using testing::StartsWith;

constexpr std::size_t kRecord = 52;  // bytes: columns at 36, 40 and 44, the end of data at 52

class Check : public kyv_test::RecordsTool {
 protected:
  std::string records() const {
    writeRecords();
    return read(path("rows"));
  }

  Outcome check(const std::string& rows, const std::string& options = "") const {
    write("rows", rows);
    return run("kyv check -s people.json rows " + options);
  }
};

// The record in the byte order that this machine does not have.
std::string opposite(std::string record) {
  for (const std::size_t word : {8, 16, 20, 24, 28, 32, 36}) kyv_test::reverseBytes(record, word, 4);
  kyv_test::reverseBytes(record, 44, 8);
  record[12] = static_cast<char>(record[12] ^ 0x10);
  return record;
}

// The third record poked.
std::string withFault(std::string rows, std::size_t offset, std::int32_t word) {
  poke(rows, 2 * kRecord + offset, word);
  return rows;
}

TEST_F(Check, AcceptsWhatTheToolMakes) {
  const std::string rows = records();
  ASSERT_EQ(rows.size(), 5 * kRecord);
  const Outcome outcome = check(rows);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, StartsWith("read 5, accepted 5, rejected 0 in "));
  const Outcome piped = run("(head -c 60 made; sleep 0.05; tail -c +61 made) | kyv check -q -s people.json -");
  EXPECT_EQ(piped.status, 0);
  EXPECT_EQ(piped.out + piped.err, "");
  EXPECT_THAT(check("").err, StartsWith("read 0, accepted 0, rejected 0 in "));
}

TEST_F(Check, TellsWhatIsWrongWhereAndGoesOn) {
  const std::string rows = records();
  const struct {
    const char* what;
    std::size_t offset;
    std::int32_t word;
    const char* report;
  } kCases[] = {
      {"operation", 4, 2, "rows: record 3, at byte 108: unexpected opcode 0x02\n"},
      {"string", 40, 0x41414141,
       "rows: record 3, at byte 147: column 1 STRING is not 0-terminated (last byte 0x41 at offset 3)\n"},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = check(withFault(rows, row.offset, row.word));
    EXPECT_EQ(outcome.status, 1) << row.what;
    EXPECT_THAT(outcome.err, StartsWith(std::string(row.report) + "read 5, accepted 4, rejected 1 in ")) << row.what;
    EXPECT_EQ(outcome.out, "") << row.what;
  }
}

TEST_F(Check, TellsAllThatIsWrongWithARecord) {
  const Outcome outcome = check(withFault(withFault(records(), 4, 2), 20, 99));
  EXPECT_THAT(outcome.err,
              StartsWith("rows: record 3, at byte 108: unexpected opcode 0x02\n"
                         "rows: record 3, at byte 104: column 0 offset 0x63 is invalid, past record length of 0x34\n"
                         "read 5, accepted 4, rejected 1 in "));
}

TEST_F(Check, ReadsBothByteOrders) {
  const std::string rows = records();
  std::string mixed = rows.substr(0, kRecord) + opposite(rows.substr(kRecord, kRecord)) + rows.substr(2 * kRecord);
  EXPECT_EQ(check(mixed).status, 0);
  EXPECT_EQ(run("kyv print -q -s people.json rows").out, run("kyv print -q -s people.json made").out);
  poke(mixed, kRecord + 24, 0x21000000);
  EXPECT_THAT(check(mixed).err,
              StartsWith("rows: record 2, at byte 76: column 1 offset 0x21 is invalid, overlapping with previous known "
                         "offset 0x24\nread 5, accepted 4, rejected 1 in "));
  const Outcome printed = run("kyv print -s people.json rows");
  EXPECT_EQ(printed.out, run("kyv print -q -s people.json made | sed 2d").out);
  EXPECT_THAT(printed.err, StartsWith("rows: record 2: column 1 offset 0x21 is invalid, overlapping with previous "));
}

TEST_F(Check, TellsTornRecordsFromBrokenOnes) {
  const std::string rows = records();
  const struct {
    const char* what;
    std::string rows;
    const char* report;
  } kCases[] = {
      {"torn within a record", rows.substr(0, 2 * kRecord + 30),
       "rows: record 3, at byte 104: torn: the file ends after 30 of its 52 bytes\nread 3, accepted 2, rejected 1 in "},
      {"torn within a length", rows.substr(0, 2 * kRecord + 3),
       "rows: record 3, at byte 104: torn: the file ends within the length word\nread 3, accepted 2, rejected 1 in "},
      {"a length of nothing", withFault(rows, 0, 0),
       "rows: record 3, at byte 104: no record begins here, its length would be 0 bytes; what follows cannot be "
       "checked\nread 3, accepted 2, rejected 1 in "},
      {"too short for a header", rows.substr(0, kRecord) + std::string("\x08\0\0\0\7\0\0\0", 8) + rows,
       "rows: record 2, at byte 52: record is too short for 0 columns and 0 options, payload offset 0x18, record "
       "length 0x8\nread 7, accepted 6, rejected 1 in "},
      {"no records at all", kyv_test::kPeople,
       "rows: record 1, at byte 0: no record begins here, its length would be 1311532105 bytes; is this a file of "
       "records?\nread 1, accepted 0, rejected 1 in "},
      {"much text behind a record", rows.substr(0, kRecord) + std::string(1 << 20, 'x'),
       "rows: record 2, at byte 52: no record begins here, its length would be 2021161080 bytes; what follows cannot "
       "be checked\nread 2, accepted 1, rejected 1 in "},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = check(row.rows);
    EXPECT_EQ(outcome.status, 1) << row.what;
    EXPECT_THAT(outcome.err, StartsWith(row.report)) << row.what;
  }
}

TEST_F(Check, KeepsItsPeaceStopsAndWritesJson) {
  std::string rows = withFault(records(), 4, 2);
  poke(rows, 3 * kRecord + 4, 4);
  Outcome outcome = check(rows, "--quiet");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out + outcome.err, "");

  outcome = check(rows, "--max-errors 1");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("\nread 3, accepted 2, rejected 1 in "));
  EXPECT_THAT(outcome.err, testing::EndsWith("\nkyv: stopped by --max-errors\n"));

  outcome = check(rows, "--json");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out, StartsWith(R"({"record":3,"begins":104,"byte":108,"message":"unexpected opcode 0x02"})"
                                      "\n"
                                      R"({"record":4,"begins":156,"byte":160,"message":"unexpected opcode 0x04"})"
                                      "\n"
                                      R"({"read": 5, "accepted": 3, "rejected": 2, )"));
}

TEST_F(Check, AnswersWrongUseAndMissingFiles) {
  writePeople();
  const struct {
    const char* line;
    int status;
    const char* message;
  } kCases[] = {
      {"kyv check rows", 2, "kyv: --schema is required (kyv check --help says more)\n"},
      {"kyv check -s - - <people.json", 2, "kyv: schema and rows cannot both come from standard input\n"},
      {"kyv check -s people.json nowhere", 3, "kyv: cannot read nowhere: No such file or directory\n"},
      {"kyv check -s nowhere people.csv", 3, "kyv: cannot read nowhere: No such file or directory\n"},
      {"kyv check -s people.json .", 3, "kyv: cannot read .: it is a directory\n"},
      {"kyv check -s people.json - <&-", 3, "kyv: cannot read <stdin>: Bad file descriptor\n"},
      {"kyv check -s people.json --json /dev/null >&-", 3, "kyv: cannot write standard output: Bad file descriptor\n"},
      {"kyv check -s people.json --json people.csv >/dev/full", 3,
       "kyv: cannot write standard output: No space left on device\n"},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = run(row.line);
    EXPECT_EQ(outcome.status, row.status) << row.line;
    EXPECT_EQ(outcome.err, row.message) << row.line;
  }
}

}  // namespace
