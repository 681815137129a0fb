// Runs the built tool through a shell, each test in an empty folder of its own, and looks at statuses, messages and
// files.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/end_to_end/tool_fixture.h"

namespace {

using kyv_test::kPeople;
using kyv_test::kPeopleSchema;
using kyv_test::Outcome;
using kyv_test::read;
using kyv_test::Tool;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST_F(Tool, AnswersWrongUseWithOneLine) {
  writePeople();
  const struct {
    const char* arguments;
    const char* message;
  } kCases[] = {
      {"", "which command? (infer, convert, print, check, inspect, load, read, time; kyv --help says more)"},
      {"conver", "there is no command \"conver\" (infer, convert, print, check, inspect, load, read, time)"},
      {"convert", "DATA.csv is required (kyv convert --help says more)"},
      {"convert people.csv", "--schema is required (kyv convert --help says more)"},
      {"convert -s people.json people.csv people.csv",
       "The following argument was not expected: people.csv (kyv convert --help says more)"},
      {"convert -s people.json people.csv --speed",
       "The following argument was not expected: --speed (kyv convert --help says more)"},
      {"convert -s people.json people.csv --threads 0",
       "--threads: must be a whole number from 1 to 64 (kyv convert --help says more)"},
      {"convert -s people.json people.csv --threads x",
       "--threads: must be a whole number from 1 to 64 (kyv convert --help says more)"},
      {"convert -s people.json people.csv --max-errors 0",
       "--max-errors: must be a whole number from 1 to 1000000000 (kyv convert --help says more)"},
      {"convert -s people.json people.csv --separator ab",
       "--separator: must be one ASCII character (kyv convert --help says more)"},
      {"convert -s people.json people.csv --separator '\"'",
       "--separator: cannot be a quote, a line end or NUL (kyv convert --help says more)"},
      {"convert -s people.json people.csv --date-format ''", "--date-format: is empty (kyv convert --help says more)"},
      {"print -s people.json people.csv --format xml", "--format: must be csv or json (kyv print --help says more)"},
      {"convert -s people.json people.csv -o ./people.csv", "the output would replace the input"},
      {"convert -s people.json people.csv --rejects ./people.csv", "the rejected rows would replace the input"},
      {"convert -s people.json people.csv -o x --rejects x", "output and rejected rows have the same file"},
      {"convert -s people.json people.csv -o x --rejects ./x", "output and rejected rows have the same file"},
      {"convert -s people.json people.csv -o $PWD/x --rejects y/../x", "output and rejected rows have the same file"},
      {"convert -s people.json people.csv -o ./people.json", "the output would replace the schema"},
      {"convert -s people.json people.csv -o x --rejects ./people.json", "the rejected rows would replace the schema"},
      {"convert -s - - <people.json", "schema and rows cannot both come from standard input"},
      {"infer people.csv -o people.csv", "the output would replace the input"},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = run("kyv " + std::string(row.arguments));
    EXPECT_EQ(outcome.status, 2) << row.arguments;
    EXPECT_EQ(outcome.err, "kyv: " + std::string(row.message) + "\n") << row.arguments;
    EXPECT_EQ(outcome.out, "") << row.arguments;
  }
  EXPECT_EQ(read(path("people.csv")), kPeople);
  EXPECT_EQ(read(path("people.json")), kPeopleSchema);
}

// What was opened is counted too, as far as it went.
TEST_F(Tool, AnswersBrokenFilesWithOneLineAndTheCounts) {
  writePeople();
  write("broken.json", "{\"stream\": \"s\",\n \"columns\": [}");
  write("empty", "");
  const struct {
    const char* line;
    const char* message;
    const char* counts = "";
  } kCases[] = {
      {"kyv infer nowhere.csv", "cannot read nowhere.csv: No such file or directory"},
      {"kyv infer .", "cannot read .: it is a directory"},
      {"kyv infer empty", "empty: holds no rows to learn from", "read 0, accepted 0, rejected 0 in "},
      {"kyv infer - <empty", "<stdin>: holds no rows to learn from", "read 0, accepted 0, rejected 0 in "},
      {"kyv infer people.csv -o no/where", "cannot write no/where: No such file or directory",
       "read 2, accepted 2, rejected 0 in "},
      {"kyv infer people.csv -o /dev/full", "cannot write /dev/full: No space left on device",
       "read 2, accepted 2, rejected 0 in "},
      {"kyv convert -s nowhere.json people.csv", "cannot read nowhere.json: No such file or directory"},
      {"kyv convert -s people.csv people.csv",
       "people.csv: not valid JSON: line 1, column 1: syntax error while parsing value - invalid literal; last read: "
       "'I'"},
      {"kyv convert -s broken.json people.csv",
       "broken.json: not valid JSON: line 2, column 14: syntax error while parsing value - unexpected '}'; expected "
       "'[', "
       "'{', or a literal"},
      {"kyv convert -s people.json people.csv -o no/where", "cannot write no/where: No such file or directory"},
      {"kyv convert -s people.json people.csv -o .", "cannot write .: Is a directory"},
      {"kyv convert -s people.json people.csv -o /dev/full", "cannot write /dev/full: No space left on device",
       "read 0, accepted 0, rejected 0 in "},
      {"kyv convert -s people.json people.csv >/dev/full", "cannot write standard output: No space left on device",
       "read 0, accepted 0, rejected 0 in "},
      {"seq -f %g,x, 9999 >many; ulimit -f 1; kyv convert --no-header -s people.json many -o rows",
       "cannot write rows: File too large", "read 0, accepted 0, rejected 0 in "},
      {"kyv convert -q -s people.json people.csv | head -c -9 >torn; kyv print -s people.json torn -o text",
       "torn: the file ends within record 2 at byte 52: 35 of 44 bytes are there",
       "read 1, accepted 1, rejected 0 in "},
      {"kyv convert -s people.json people.csv --rejects no/where -o x",
       "cannot write no/where: No such file or directory"},
      {"kyv print -s people.json people.csv",
       "people.csv: no record begins at byte 0, where record 1 should: its length would be 1311532105 bytes",
       "read 0, accepted 0, rejected 0 in "},
      {"printf abc | kyv print -s people.json -", "<stdin>: the file ends within the length of record 1 at byte 0",
       "read 0, accepted 0, rejected 0 in "},
      {"printf '\\x64\\0\\0\\0abcd' | kyv print -s people.json -",
       "<stdin>: the file ends within record 1 at byte 0: 8 of 100 bytes are there",
       "read 0, accepted 0, rejected 0 in "},
      {"printf '\\x17\\0\\0\\0abcd' | kyv print -s people.json -",
       "<stdin>: no record begins at byte 0, where record 1 should: its length would be 23 bytes",
       "read 0, accepted 0, rejected 0 in "},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = run(row.line);
    EXPECT_EQ(outcome.status, 3) << row.line;
    const std::string line = "kyv: " + std::string(row.message) + "\n";
    EXPECT_THAT(outcome.err, StartsWith(line + row.counts)) << row.line;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), *row.counts == '\0' ? 1 : 2) << row.line;
    EXPECT_EQ(outcome.out, "") << row.line;
  }
}

TEST_F(Tool, HelpsWithExamplesThatWork) {
  EXPECT_THAT(run("kyv --version").out, StartsWith("kyv 1."));
  EXPECT_THAT(run("kyv --help").out, HasSubstr("convert"));
  for (const char* command : {"infer", "convert", "print"}) {
    const Outcome help = run("kyv " + std::string(command) + " --help");
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_EQ(help.err, "") << command;
    const std::size_t example = help.out.find("Example:\n");
    ASSERT_NE(example, std::string::npos) << command;
    const Outcome pasted = run("set -e\n" + help.out.substr(example + 9));
    EXPECT_EQ(pasted.status, 0) << command << pasted.err;
    EXPECT_EQ(command == std::string("print"), pasted.out == kPeople) << pasted.out;
  }
}

TEST_F(Tool, GivesRealFilesBack) {
  for (const char* name : {"airports", "birdstrikes", "seattle-weather-hourly-normals"}) {
    const std::string data = kyv_test::kDataDir + std::string("/") + name + ".csv";
    const Outcome outcome = run("set -e; kyv infer " + data + " >s.json; kyv convert -s s.json " + data +
                                " --threads 2 | kyv print -s s.json --header -");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(read(path("s.json")), read(kyv_test::kDataDir + std::string("/") + name + ".json"));
    // Lines end in a line feed alone, the last one too; all else comes back to the letter.
    std::string expected = read(data);
    expected.erase(std::remove(expected.begin(), expected.end(), '\r'), expected.end());
    if (expected.back() != '\n') expected += '\n';
    EXPECT_TRUE(outcome.out == expected) << name;
  }
}

TEST_F(Tool, SaysWhichRowIsBadAndGoesOn) {
  write("people.json", kPeopleSchema);
  write("bad.csv", "Id,Name,Born\r\n1,Ann,1990-01-31\r\n\r\nx,\xC3\xA4\tb,\r\n2,Bob,31.1.1990\r\n3,Cid\r\n4,Dan,\r\n");
  const Outcome outcome = run("kyv convert -s people.json bad.csv -o rows --rejects rest.csv");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err,
              StartsWith("bad.csv:4: column \"Id\": record 2: Error converting data 'x'->INTEGER for Stream 'people' "
                         "Column 'Id': integer constant does not begin with a legal character\n"
                         "    x,\xC3\xA4 b,\n"
                         "    ^\n"
                         "bad.csv:5: column \"Born\": record 3: Error converting data '31.1.1990'->DATE for Stream "
                         "'people' Column 'Born': date constant does not match format\n"
                         "    2,Bob,31.1.1990\n"
                         "          ^~~~~~~~~\n"
                         "bad.csv:6: record 4: not enough fields for stream 'people', only 2, need 3\n"
                         "    3,Cid\n"
                         "read 5, accepted 2, rejected 3 in "));
  EXPECT_THAT(outcome.err, HasSubstr("; blank lines skipped: 1\n"));
  EXPECT_EQ(read(path("rest.csv")), "Id,Name,Born\r\nx,\xC3\xA4\tb,\r\n2,Bob,31.1.1990\r\n3,Cid\r\n");

  const Outcome repaired =
      run("sed -i 's/^x/9/; s/31.1.1990/1990-01-31/; s/Cid/Cid,/' rest.csv; kyv convert -q -s people.json rest.csv | "
          "kyv print -q -s people.json -");
  EXPECT_EQ(repaired.out, "9,\xC3\xA4\tb,\n2,Bob,1990-01-31\n3,Cid,\n");
}

TEST_F(Tool, CountsWhatItGuessedFrom) {
  writePeople();
  Outcome outcome = run("kyv infer people.csv");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, StartsWith("read 2, accepted 2, rejected 0 in "));
  outcome = run("(cat people.csv; echo x) | kyv infer -");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("first is on line 4\nread 3, accepted 2, rejected 1 in "));
  EXPECT_EQ(run("kyv infer -q people.csv").err, "");
}

TEST_F(Tool, FindsTheHeaderBelowBlankLines) {
  writePeople();
  const Outcome outcome =
      run("(echo; sleep 0.05; echo; cat people.csv) | kyv convert -s people.json - | kyv print -q -s people.json -");
  EXPECT_EQ(outcome.out, "1,Ann,1990-01-31\n2,Bob,\n");
  EXPECT_THAT(outcome.err, HasSubstr("; blank lines skipped: 2\n"));
}

TEST_F(Tool, KeepsItsPeaceWhenAskedTo) {
  writePeople();
  Outcome outcome = run("(cat people.csv; echo x) | kyv convert -q -s people.json - -o rows");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out + outcome.err, "");
  outcome = run("kyv convert --json -s people.json people.csv -o rows");
  EXPECT_THAT(outcome.out, StartsWith(R"({"read": 2, "accepted": 2, "rejected": 0, "blank": 0, "seconds": 0.0)"));
  EXPECT_EQ(outcome.err, "");
  outcome = run("kyv print --json -s people.json rows");
  EXPECT_EQ(outcome.out, "1,Ann,1990-01-31\n2,Bob,\n");
  EXPECT_THAT(outcome.err, StartsWith(R"({"read": 2, )"));
}

TEST_F(Tool, StopsAtTheLastErrorAllowed) {
  writePeople();
  write("rows", "old");
  for (const char* threads : {"1", "4"}) {
    const std::string options = " --threads " + std::string(threads);
    Outcome outcome =
        run("(cat people.csv; echo x; echo 3,C,; echo y; echo z) | "
            "kyv convert -s people.json - -o rows --max-errors 2" +
            options);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("read 5, accepted 3, rejected 2 in "));
    EXPECT_THAT(outcome.err, HasSubstr("\nkyv: stopped by --max-errors; rows was not written\n"));
    EXPECT_EQ(read(path("rows")), "old");
    outcome = run("(cat people.csv; echo x; echo 3,C,) | kyv convert -q -s people.json - --max-errors 1" + options +
                  " | kyv print -q -s people.json -");
    EXPECT_EQ(outcome.out, "1,Ann,1990-01-31\n2,Bob,\n");
  }
  EXPECT_THAT(files(), Not(testing::Contains(StartsWith("rows."))));
}

// Many blocks of rows, every so often a bad one.
std::string manyRows(bool quoted) {
  std::string text = "Id,Name,Born\n";
  for (int i = 0; i < 60000; ++i) {
    const bool bad = i % 9973 == 5000;
    const std::string name = quoted && i % 7 == 0 ? "\"a, \"\"b\"\"\nc\"" : "Some name of a person";
    text += (bad ? "x" : std::to_string(i)) + "," + name + ",1990-01-31\n";
  }
  return text;
}

TEST_F(Tool, GivesTheSameWhateverTheThreads) {
  write("people.json", kPeopleSchema);
  for (const bool quoted : {false, true}) {
    write("many.csv", manyRows(quoted));
    const std::string options = quoted ? " --quoted" : "";
    const std::string convert = "kyv convert -s people.json" + options;
    const Outcome one = run(convert + " many.csv -o one --rejects one.rest");
    const Outcome four = run(convert + " many.csv -o four --rejects four.rest --threads 4");
    const Outcome piped = run("cat many.csv | " + convert + " - --threads 3 >piped");
    EXPECT_EQ(one.status, 1);
    EXPECT_EQ(one.err.substr(0, one.err.rfind(" in ")), four.err.substr(0, four.err.rfind(" in ")));
    EXPECT_THAT(one.err, HasSubstr("read 60000, accepted 59994, rejected 6 in "));
    EXPECT_EQ(read(path("one.rest")), read(path("four.rest")));
    EXPECT_TRUE(read(path("one")) == read(path("four")));
    EXPECT_TRUE(read(path("one")) == read(path("piped")));
    const Outcome text = run("kyv print -q -s people.json one");
    EXPECT_TRUE(text.out == run("kyv print -q -s people.json one --threads 4").out);
    EXPECT_EQ(std::count(text.out.begin(), text.out.end(), '\n'), quoted ? 59994 + 8571 : 59994);
  }
}

TEST_F(Tool, TakesTheCommandLinesWordOverTheSchemas) {
  writePeople();
  write("p.csv", "\xEF\xBB\xBFpeople;i;1;\"A;\n\"\"B\"\"\";31.01.1990\npeople;d;2;'x';\n");
  const std::string options = " -s people.json --separator ';' --service --date-format %d.%m.%Y ";
  Outcome outcome =
      run("kyv convert -q --no-header --quoted" + options + "p.csv | tee rows | kyv print -q - --header" + options);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out, "stream;operation;Id;Name;Born\npeople;i;1;\"A;\n\"\"B\"\"\";31.01.1990\npeople;d;2;'x';\n");
  outcome = run("kyv print -q --service -s people.json rows --format json");
  EXPECT_EQ(outcome.out,
            "{\"stream\":\"people\",\"op\":\"i\",\"Id\":1,\"Name\":\"A;\\n\\\"B\\\"\",\"Born\":\"1990-01-31\"}\n"
            "{\"stream\":\"people\",\"op\":\"d\",\"Id\":2,\"Name\":\"'x'\",\"Born\":null}\n");
}

TEST_F(Tool, EndsQuietlyWhenTheReaderHasGone) {
  write("people.json", kPeopleSchema);
  write("many.csv", manyRows(false));
  const Outcome outcome =
      run("kyv convert -q -s people.json many.csv -o rows\nset -o pipefail\n"
          "kyv print -s people.json rows | head -1");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "0,Some name of a person,1990-01-31\n");
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Tool, LeavesNothingBehindWhenInterrupted) {
  writePeople();
  const Outcome outcome =
      run("mkfifo pipe; kyv convert -s people.json - -o rows <pipe & kyv=$!\n"
          "exec 3>pipe; until ls rows.part-*; do sleep 0.01; done >/dev/null 2>&1; kill -INT $kyv; wait $kyv");
  EXPECT_EQ(outcome.status, 5);
  EXPECT_THAT(outcome.err, StartsWith("read 0, accepted 0, rejected 0 in "));
  EXPECT_THAT(outcome.err, HasSubstr("\nkyv: interrupted; rows was not written\n"));
  EXPECT_THAT(files(), Not(testing::Contains(StartsWith("rows"))));
}

TEST_F(Tool, CountsWhatItLearntFromWhenInterrupted) {
  const Outcome outcome =
      run("mkfifo pipe; kyv infer - <pipe & kyv=$!\n"
          "exec 3>pipe; seq -f %g,x 50000 >&3; kill -INT $kyv; wait $kyv");
  EXPECT_EQ(outcome.status, 5);
  EXPECT_THAT(outcome.err, testing::MatchesRegex("read [1-9][0-9]+, accepted [1-9][0-9]+, rejected 0 in [^\n]*\n"
                                                 "kyv: interrupted\n"));
  EXPECT_EQ(outcome.out, "");
}

// A row of two bytes becomes a record of 56, and all blocks at once would fill the memory.
TEST_F(Tool, WritesPieceByPieceWhatBecomesMuch) {
  write("one.json", R"json({"stream": "s", "id": 1, "columns": [{"name": "D", "type": "decimal(20,2)"}]})json");
  const Outcome outcome =
      run("for i in {0..9}; do yes $i.25 | head -20000; echo x; done >many.csv\n"
          "kyv convert -s one.json --threads 64 --rejects bad many.csv | kyv print -q -s one.json - >back\n"
          "grep -v x many.csv | cmp - back && cat bad");
  EXPECT_EQ(outcome.out, "x\nx\nx\nx\nx\nx\nx\nx\nx\nx\n");
  EXPECT_THAT(outcome.err, HasSubstr("\nmany.csv:200010: column \"D\": record 200010: "));
  EXPECT_THAT(outcome.err, HasSubstr("\nread 200010, accepted 200000, rejected 10 in "));
}

TEST_F(Tool, TakesARowThatNeverEndsForOneBadRow) {
  write("people.json", kPeopleSchema);
  write("open.csv", "Id,Name,Born\n1,\"Ann,\n" + manyRows(false) + std::string(4 << 20, 'x'));
  Outcome outcome = run("kyv convert --quoted -s people.json open.csv -o rows --rejects rest --threads 2");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, StartsWith("open.csv:2: record 1: longer than 1048576 bytes, the most that a row may have\n"
                                      "    1,\"Ann,\n"));
  EXPECT_TRUE(read(path("rest")).starts_with("Id,Name,Born\n1,\"Ann,\nId,Name,Born\n0,"));

  write("end.csv", "Id,Name,Born\n1,Ann,\n2,\"Bob,\n3,Cid,\n");
  outcome = run("kyv convert --quoted -s people.json end.csv -o rows");
  EXPECT_THAT(outcome.err,
              StartsWith("end.csv:3: column \"Name\": record 2: a quoted field is not closed before the end "
                         "of the data\n    2,\"Bob,\n      ^~~~~\nread 2, accepted 1, rejected 1 in "));
}

// The peak of a run that has read all of its input and waits for more.
TEST_F(Tool, KeepsItsMemorySmall) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer's memory is not ours";
#endif
  write("people.json", kPeopleSchema);
  for (const char* input : {"yes x", "yes ,,", "yes '1,\"some text,'", "yes 1,some text,"}) {
    const Outcome outcome =
        run("mkfifo pipe; kyv convert -q --quoted --threads 64 -s people.json - -o rows <pipe & kyv=$!\n"
            "exec 3>pipe; " +
            std::string(input) +
            " | head -c 8000000 >&3\n"
            "sed -n 's/VmHWM:\\s*\\([0-9]*\\) kB/\\1/p' /proc/$kyv/status; exec 3>&-; wait $kyv; rm pipe");
    const int kilobytes = std::atoi(outcome.out.c_str());
    EXPECT_GT(kilobytes, 0) << input << outcome.err;
    EXPECT_LT(kilobytes, 64 * 1024) << input;
  }
}

}  // namespace
