// Runs `kyv convert --permutation` and `kyv print --permutation` as users do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/end_to_end/tool_fixture.h"

namespace {

using kyv_test::Outcome;
using kyv_test::read;
using kyv_test::Tool;
using testing::HasSubstr;
using testing::StartsWith;

// The people of people.json (Id, Name, Born), as somebody else keeps them.
constexpr char kForeign[] = "born,title,code,shoe\n1990-01-31,Ann,1,38\n,Bob,2,\n";
constexpr char kPairs[] = "Id=code:Name=title:Born=born";

class Permuted : public Tool {
 protected:
  void SetUp() override {
    writePeople();
    write("foreign.csv", kForeign);
  }

  // What a text becomes when it is converted and printed with other options. Both must succeed.
  std::string through(const std::string& text, const std::string& convert, const std::string& print) const {
    write("in.csv", text);
    const Outcome outcome = run("kyv convert -q -s people.json " + convert + " in.csv -o out.rows && " +
                                "kyv print -q -s people.json " + print + " out.rows");
    EXPECT_EQ(outcome.err, "") << convert;
    EXPECT_EQ(outcome.status, 0) << convert;
    return outcome.out;
  }
};

TEST_F(Permuted, LinesAreReadAndWrittenInAnotherOrder) {
  const std::string pairs = std::string(" --permutation '") + kPairs + "'";
  const struct {
    const char* what;
    std::string text;
    std::string convert;
    std::string print;
    const char* out;
  } kCases[] = {
      {"by the header", kForeign, pairs, "", "1,Ann,1990-01-31\n2,Bob,\n"},
      {"quoted", "title,code,born\n\"A, n\nn\",1,\n\"\",2,1990-01-31\nx,3,\n", "--quoted" + pairs, "",
       "1,\"A, n\nn\",\n2,\"\",1990-01-31\n3,x,\n"},
      {"a quoted header over two lines", "\"ti\ntle\",code\nAnn,1\n", "--quoted --permutation $'Id=code:Name=ti\\ntle'",
       "", "1,Ann,\n"},
      {"a plain header in quotes", "'title',\"code\",born\r\nAnn,1,\r\n", pairs, "", "1,Ann,\n"},
      {"blank lines and a byte order mark", "\xEF\xBB\xBF\r\n\ncode,title,born\n\n1,Ann,\n", pairs, "", "1,Ann,\n"},
      {"the first column without field", "title\nAnn\n", "--permutation Name=title", "", ",Ann,\n"},
      {"by number", "1990-01-31,9,1\n,,2\n", "--no-header --permutation Id=field_02:Born=field_00", "",
       "1,,1990-01-31\n2,,\n"},
      {"with service", "stream,op,title,code,born\npeople,d,Ann,1,\n", "--service" + pairs, "--service",
       "people,d,1,Ann,\n"},
      {"another separator, and returns", "code;title\n1;A\r\r\n2;B\r",
       "--separator ';' --permutation 'Id=code:Name=title'", "", "1,\"A\r\",\n2,B,\n"},
      {"no rows", "code,title\n", "--permutation Id=code", "", ""},
      {"written in the order of the pairs", "Id,Name,Born\n1,Ann,1990-01-31\n", "",
       "--header --permutation 'Born=born:Id=co,de'", "born,\"co,de\"\n1990-01-31,1\n"},
      {"written by number", "Id,Name,Born\n1,\"A,n\",\n", "--quoted",
       "--header --permutation Name=field_03:Id=field_01", "field_00,field_01,field_02,field_03\n,1,,\"A,n\"\n"},
      {"written with service", "Id,Name,Born\n1,Ann,\n", "",
       "--service --separator ';' --permutation Name=title:Id=code", "people;p;Ann;1\n"},
      {"written as JSON", "Id,Name,Born\n1,Ann,\n", "", "--format json --permutation Name=field_01:Id=field_02",
       "{\"field_00\":null,\"field_01\":\"Ann\",\"field_02\":1}\n"},
  };
  for (const auto& row : kCases) EXPECT_EQ(through(row.text, row.convert, row.print), row.out) << row.what;
}

TEST_F(Permuted, TheFirstOfTwoFieldsOfOneNameIsTakenAloud) {
  write("twice.csv", "x,code,title,x,code\n0,1,Ann,0,2\n");
  const std::string command = "kyv convert -s people.json --permutation Id=code:Name=title twice.csv -o out.rows ";
  EXPECT_THAT(run(command).err,
              StartsWith("kyv: note: the header has \"code\" as field 2 and again as field 5; field 2 is taken\n"));
  EXPECT_EQ(run(command + "-q").err, "");
  EXPECT_EQ(run("kyv print -q -s people.json out.rows").out, "1,Ann,\n");
}

TEST_F(Permuted, ThreadsChangeNothing) {
  const Outcome outcome =
      run(std::string("{ echo code,born,title; seq -f '%.0f,,Ann' 300000; } > many.csv\n"
                      "{ echo Id,Name,Born; seq -f '%.0f,Ann,' 300000; } > straight.csv\n"
                      "kyv convert -q --threads 4 -s people.json --permutation '") +
          kPairs +
          "' many.csv -o many.rows && kyv convert -q -s people.json straight.csv -o straight.rows && "
          "cmp many.rows straight.rows && "
          "kyv print -q --threads 4 -s people.json --header --permutation Id=code:Born=born:Name=title "
          "many.rows | cmp - many.csv");
  EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
}

TEST_F(Permuted, BadRowsAreShownAndKeptAsTheyStand) {
  write("bad.csv", "born,title,code\n1990-01-31,Ann,x\n1990-13-31,\"Bob\",2\n,Cy\n,Di,4,5\n,Ed,5\n");
  const std::string pairs = std::string("--permutation '") + kPairs + "'";
  for (const char* const quoted : {"", "--quoted "}) {
    const Outcome outcome = run("kyv convert -s people.json " + std::string(quoted) + pairs +
                                " bad.csv -o out.rows --rejects bad; kyv print -q -s people.json out.rows");
    EXPECT_EQ(outcome.out, "5,Ed,\n");
    EXPECT_THAT(outcome.err,
                StartsWith("bad.csv:2: column \"Id\": record 1: Error converting data 'x'->INTEGER for Stream 'people' "
                           "Column 'Id': integer constant does not begin with a legal character\n"
                           "    1990-01-31,Ann,x\n"
                           "                   ^\n"
                           "bad.csv:3: column \"Born\": record 2: Error converting data '1990-13-31'->DATE"));
    EXPECT_THAT(outcome.err, HasSubstr("    1990-13-31,\"Bob\",2\n"
                                       "    ^~~~~~~~~~\n"
                                       "bad.csv:4: record 3: has 2 fields, the header has 3\n"
                                       "    ,Cy\n"
                                       "bad.csv:5: record 4: has 4 fields, the header has 3\n"));
    EXPECT_EQ(read(path("bad")), "born,title,code\n1990-01-31,Ann,x\n1990-13-31,\"Bob\",2\n,Cy\n,Di,4,5\n");
  }
}

TEST_F(Permuted, LinesWithoutHeaderNeedThePairedFieldsOnly) {
  write("bad.csv", "1,Ann,x\n1,Ann\n1\n");
  const std::string command = "kyv convert -s people.json --no-header --permutation Id=field_00:Name=field_01 ";
  EXPECT_THAT(run(command + "bad.csv -o out.rows").err,
              StartsWith("bad.csv:3: record 3: has 1 field, the permutation needs 2\n"));
  const Outcome outcome = run("yes , 2>/dev/null | head -n 999 | tr -d '\\n' | " + command + "- -o out.rows");
  EXPECT_THAT(outcome.err, StartsWith("<stdin>:1: record 1: has 1000 fields, a permutation takes at most 999\n"));
  EXPECT_THAT(run(command + "--service - -o out.rows <<< people").err,
              StartsWith("<stdin>:1: record 1: contains no stream name\n"));
  EXPECT_THAT(run(command + "--service - -o out.rows <<< people,i").err,
              StartsWith("<stdin>:1: record 1: has 0 fields, the permutation needs 2\n"));
}

TEST_F(Permuted, AQuoteThatIsNotClosedIsShownInItsPlace) {
  write("bad.csv", "title,code\nAnn,\"1\n");
  const Outcome outcome =
      run("kyv convert -s people.json --quoted --permutation Id=code:Name=title bad.csv -o out.rows");
  EXPECT_THAT(outcome.err, StartsWith("bad.csv:2: column \"Id\": record 1: a quoted field is not closed before the end "
                                      "of the data\n    Ann,\"1\n        ^~"));
}

TEST_F(Permuted, AWrongTextIsShownWithACaretUnderThePair) {
  const struct {
    const char* command;
    const char* message;
  } kCases[] = {
      {"convert foreign.csv --permutation Id=code:Name",
       "Misformatted permutation string, missing '=' around text 'Name'\n    Id=code:Name\n            ^~~~\n"},
      {"convert foreign.csv --permutation Id=code:Nam=title:Born=born",
       "Misformatted permutation, platform field 'Nam' is unknown\n"
       "    Id=code:Nam=title:Born=born\n            ^~~~~~~~~\n"},
      {"convert foreign.csv --permutation Id=code:Name=name",
       "Misformatted permutation, external field 'name' is unknown\n    Id=code:Name=name\n            ^~~~~~~~~\n"},
      {"convert foreign.csv --threads 4 --permutation ü=code",
       "Misformatted permutation, platform field 'ü' is unknown\n    ü=code\n    ^~~~~~\n"},
      {"convert foreign.csv --no-header --permutation Id=field_00:Name=title",
       "Misformatted permutation, external field 'title' is unknown\n"
       "    Id=field_00:Name=title\n                ^~~~~~~~~~\n"
       "without --header the fields are called field_00, field_01, ... field_998\n"},
      {"convert foreign.csv --no-header --permutation Id=field_999",
       "Misformatted permutation, external field 'field_999' is unknown\n    Id=field_999\n    ^~~~~~~~~~~~\n"
       "without --header the fields are called field_00, field_01, ... field_998\n"},
      {"print foreign.csv --permutation $'Id=a\\e:b'",
       "Misformatted permutation string, missing '=' around text 'b'\n    Id=a?:b\n          ^\n"},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = run("kyv " + std::string(row.command) + " -s people.json -o out.rows");
    EXPECT_EQ(outcome.status, 2) << row.command;
    EXPECT_EQ(outcome.err, "kyv: --permutation: " + std::string(row.message)) << row.command;
    EXPECT_EQ(outcome.out, "") << row.command;
    EXPECT_FALSE(std::filesystem::exists(path("out.rows"))) << row.command;
  }
}

}  // namespace
