// Runs `kyv inspect` on records as users do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/end_to_end/records_fixture.h"

namespace {

using kyv_test::Outcome;
using kyv_test::read;
using testing::HasSubstr;
using testing::StartsWith;

using Inspect = kyv_test::RecordsTool;

// How many records a text shows.
std::size_t recordsIn(const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find("Record ", at)) != std::string::npos; ++at) ++count;
  return count;
}

TEST_F(Inspect, ShowsTheRecordsThatAreAskedFor) {
  writeRecords();
  const struct {
    const char* options;
    std::size_t records;
    const char* first;
    const char* summary;
  } kCases[] = {
      {"", 3, "Record 1, at byte 0\n", "3 of 5 records shown (--record N-M shows others, --all all)\n"},
      {"--all", 5, "Record 1, at byte 0\n", "5 of 5 records shown\n"},
      {"--record 2", 1, "Record 2, at byte 52\n", "1 of 5 records shown (--record N-M shows others, --all all)\n"},
      {"--record 4-9 -q", 2, "Record 4, at byte 156\n", ""},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = run("cat rows | kyv inspect -s people.json - " + std::string(row.options));
    EXPECT_EQ(outcome.status, 0) << row.options;
    EXPECT_EQ(recordsIn(outcome.out), row.records) << row.options;
    EXPECT_THAT(outcome.out, StartsWith(row.first)) << row.options;
    EXPECT_EQ(outcome.err, row.summary) << row.options;
    EXPECT_THAT(outcome.out, HasSubstr("date       0x2C       8  80 2a c6 25 00 00 ..  1990-01-31\n")) << row.options;
  }
}

TEST_F(Inspect, ShowsWhatIsBrokenAndSaysSo) {
  writeRecords();
  const struct {
    const char* line;
    int status;
    const char* out;
    const char* err;
  } kCases[] = {
      {"head -c 100 rows | kyv inspect -s people.json -", 1,
       "  length     52 bytes\n             ! only 48 of them are there\n", "2 of 2 records shown, 1 with faults\n"},
      {"head -c 100 rows | kyv inspect -s people.json - --record 1", 1, "Record 1, at byte 0\n",
       "kyv: <stdin>: record 2, at byte 52: length: only 48 of them are there\n"
       "1 of 2 records shown, 1 with faults (--record N-M shows others, --all all)\n"},
      {"(head -c 52 rows; yes no | head -c 9999) | kyv inspect -s people.json -", 1,
       "Record 2, at byte 52: 1 fault\n  length     1846177646 bytes\n"
       "             ! a record has at most 268435456 bytes\n",
       "2 of 2 records shown, 1 with faults; no record begins at byte 52\n"},
      {"head -c 64 /dev/zero | kyv inspect -s people.json - --raw", 1, "Len:0x0",
       "kyv: <stdin>: record 1, at byte 0: length: a record has at least 24 bytes\n"
       "1 of 1 records shown, 1 with faults; no record begins at byte 0\n"},
      {"(head -c 4 rows; printf '\\2'; tail -c +6 rows) | kyv inspect -s people.json - --record 1", 1,
       "  operation  2\n             ! no operation has this number\n", "1 of 5 records shown, 1 with faults"},
      {"kyv inspect -s people.json rows --record 9", 2, "", "kyv: rows: there is no record 9, only 5\n"},
      {"kyv inspect -s people.json - </dev/null", 0, "", "0 of 0 records shown\n"},
      {"kyv inspect -s people.json rows >/dev/full", 3, "",
       "kyv: cannot write standard output: No space left on device\n"},
      {"kyv inspect -s people.json rows --all | head -n 1; exit ${PIPESTATUS[0]}", 0, "Record 1, at byte 0\n", ""},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = run(row.line);
    EXPECT_EQ(outcome.status, row.status) << row.line << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr(row.out)) << row.line;
    EXPECT_THAT(outcome.err, HasSubstr(row.err)) << row.line;
  }
}

TEST_F(Inspect, RefusesWrongUse) {
  writeRecords();
  const struct {
    const char* arguments;
    const char* message;
  } kCases[] = {
      {"rows --record 0",
       "--record: must be a record's number from 1, or two with a dash between, such as 7-9 "
       "(kyv inspect --help says more)"},
      {"rows --record 1 --all", "--record excludes --all (kyv inspect --help says more)"},
      {"rows --raw --html page", "--html excludes --raw (kyv inspect --help says more)"},
      {"rows --color blue", "--color: must be auto, always or never (kyv inspect --help says more)"},
      {"rows --html ./rows", "the page would replace the input"},
      {"rows --html people.json", "the page would replace the schema"},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = run("kyv inspect -s people.json " + std::string(row.arguments));
    EXPECT_EQ(outcome.status, 2) << row.arguments;
    EXPECT_EQ(outcome.err, "kyv: " + std::string(row.message) + "\n");
  }
}

// `script` runs a command on a terminal of its own.
TEST_F(Inspect, UsesColourOnATerminalOnly) {
  writeRecords();
  const std::string inspect = "kyv inspect -q -s people.json rows --record 1";
  const struct {
    std::string line;
    bool coloured;
  } kCases[] = {
      {inspect, false},
      {inspect + " --color always", true},
      {"unset NO_COLOR; script -qec '" + inspect + "' /dev/null", true},
      {"NO_COLOR= script -qec '" + inspect + "' /dev/null", true},
      {"NO_COLOR=1 script -qec '" + inspect + "' /dev/null", false},
      {"unset NO_COLOR; script -qec '" + inspect + " --color never' /dev/null", false},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = run(row.line);
    EXPECT_EQ(outcome.status, 0) << row.line;
    EXPECT_THAT(outcome.out, HasSubstr("upsert (p)")) << row.line;
    EXPECT_EQ(outcome.out.find('\x1B') != std::string::npos, row.coloured) << row.line;
  }
}

TEST_F(Inspect, WritesOnePageWholeOrNotAtAll) {
  writeRecords();
  Outcome outcome = run("kyv inspect -s people.json rows --html page.html");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  const std::string page = read(path("page.html"));
  EXPECT_THAT(page, StartsWith("<!DOCTYPE html>"));
  EXPECT_TRUE(page.ends_with("</html>\n"));
  EXPECT_THAT(page, HasSubstr("<footer><p>3 of 5 records shown</p></footer>"));

  for (const char* const failing : {"nowhere", "rows --record 6"}) {
    outcome = run("kyv inspect -s people.json --html page.html " + std::string(failing) + "; ls page.html*");
    EXPECT_EQ(outcome.out, "page.html\n") << failing;
    EXPECT_EQ(read(path("page.html")), page) << failing;
  }
}

}  // namespace
