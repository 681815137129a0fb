// `kyv time`, and date models given to the other commands.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/end_to_end/tool_fixture.h"

namespace {

using kyv_test::Outcome;
using kyv_test::Tool;
using testing::HasSubstr;

TEST_F(Tool, ShowsWhatEveryTokenOfAModelDid) {
  const struct {
    const char* arguments;
    int status;
    const char *out, *err;
  } kCases[] = {
      {"format 'YYYY\" of \"MonFM, DD TZH' 1709622489120 --zone America/New_York --type timestamp", 0,
       "2024 of Mar, 5 -05\n\n"
       "token  meaning                text\n"
       "YYYY   year                   \"2024\"\n"
       " of    as it stands           \" of \"\n"
       "Mon    month, short name      \"Mar\"\n"
       "FM     fill mode on           \n"
       ",      as it stands           \", \"\n"
       "DD     day of the month       \"5\"\n"
       "       as it stands           \" \"\n"
       "TZH    zone's hours from UTC  \"-05\"\n",
       ""},
      {"parse 'YYYY-MM' 2024/3 --type date", 0,
       "1709251200  (2024-03-01 00:00:00 UTC)\n\n"
       "token  meaning       text\n"
       "YYYY   year          \"2024\"\n"
       "-      as it stands  \"/\"\n"
       "MM     month         \"3\"\n",
       ""},
      {"parse 'YYYY-MM-DD' 2024-xx-05", 1, "",
       "kyv: the text does not go on as the model does\n    2024-xx-05\n         ^\n\n"
       "token  meaning       text\n"
       "YYYY   year          \"2024\"\n"
       "-      as it stands  \"-\"\n"
       "MM     month         \n\n"},
      {"format -q --type date HH24 -- -3600", 0, "23\n", ""},
      {"format -q \"YYYY\tMM\" 0", 0, "1970\t01\n", ""},
      {"parse -q SE.FF 7.5", 0, "7500\n", ""},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = run("kyv time " + std::string(row.arguments));
    EXPECT_EQ(outcome.status, row.status) << row.arguments;
    EXPECT_EQ(outcome.out, row.out) << row.arguments;
    EXPECT_EQ(outcome.err, row.err) << row.arguments;
  }
}

TEST_F(Tool, TellsInWordsWhatAValueMeans) {
  const struct {
    const char* arguments;
    const char* line;
  } kCases[] = {
      {"HH24:MI:SS.FF 07:08:09.5", "-2208963110500  (1900-01-01 07:08:09.500 UTC)\n"},
      {"'YYYY SSSSS.FF' '1969 0.25' --type bigdatetime", "-31535999750000  (1969-01-01 00:00:00.250000 UTC)\n"},
      {"YYYY 0000 --type date", "-62167219200  (0000-01-01 00:00:00 UTC)\n"},
      {"SE 253402300799", "253402300799000  (9999-12-31 23:59:59 UTC)\n"},
      {"SE 253402300800 --type time", "253402300800\n"},
      {"MIC 9223372036854775807 --type bigdatetime", "9223372036854775807\n"},
  };
  for (const auto& row : kCases) {
    const std::string out = run("kyv time parse " + std::string(row.arguments)).out;
    EXPECT_EQ(out.substr(0, out.find('\n') + 1), row.line) << row.arguments;
  }
}

TEST_F(Tool, PointsAtWhatIsWrongInAModel) {
  const struct {
    const char* arguments;
    int status;
    const char* message;
  } kCases[] = {
      {"parse YYYY-DDD 2024-065", 2, "kyv: this token cannot be read\n    YYYY-DDD\n         ^~~\n"},
      {"format 'DD HOURS' 0", 2, "kyv: this token cannot be printed\n    DD HOURS\n       ^~~~~\n"},
      {"parse 'ä HH24 AM' 0", 2, "this token reads what a token before it has read\n    ä HH24 AM\n           ^~\n"},
      {"format 'DD \"x' 0", 2, "kyv: a quotation has no end\n    DD \"x\n       ^~\n"},
      {"format DD 0 --zone Nowhere", 2, "kyv: unknown time zone \"Nowhere\"\n"},
      {"format DD 5x", 2, "kyv: the value to format must be a whole number, a count since 1970\n"},
      {"format DD 9223372036854775807 --type date", 1, "kyv: the date is beyond the years of the calendar\n"},
      {"parse DD 5x", 1, "kyv: the text goes on behind the model\n    5x\n     ^\n"},
      {"parse MS 9223372036854775807 --type bigdatetime", 1, "kyv: the value is out of range\n"},
      {"print DD 5", 2, "ACTION: must be format or parse (kyv time --help says more)\n"},
      {"format DD 5 --type day", 2,
       "--type: must be date, time, timestamp or bigdatetime (kyv time --help says more)\n"},
      {"format DD", 2, "VALUE is required (kyv time --help says more)\n"},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = run("kyv time " + std::string(row.arguments));
    EXPECT_EQ(outcome.status, row.status) << row.arguments;
    EXPECT_THAT(outcome.err, HasSubstr(row.message)) << row.arguments;
  }
}

constexpr char kTimes[] = "05-Mar-2024,20240305 070809.5,07:08 PM\n";
constexpr char kColumns[] =
    R"("columns": [{"name": "D", "type": "date"}, {"name": "S", "type": "timestamp"}, {"name": "T", "type": "time"}])";

TEST_F(Tool, ConvertsAndPrintsByModels) {
  const std::string models =
      " --date-model DD-Mon-YYYY --timestamp-model 'YYYYMMDD HH24MISS.FF' --time-model 'HH:MI AM' ";
  write("times.csv", kTimes);
  write("plain.json", R"({"stream": "times", )" + std::string(kColumns) + "}");
  EXPECT_EQ(run("kyv convert -q -s plain.json times.csv -o times.rows" + models).err, "");
  EXPECT_EQ(run("kyv print -q -s plain.json times.rows").out, "2024-03-05 00:00:00,2024-03-05 07:08:09.500,19:08:00\n");
  EXPECT_EQ(run("kyv print -q -s plain.json times.rows --date-model 'FMDay, DD' --time-model SSSSS").out,
            "\"Tuesday, 5\",2024-03-05 07:08:09.500,68880\n");
  EXPECT_THAT(run("kyv inspect -s plain.json times.rows" + models).out, HasSubstr("20240305 070809.500000"));
}

TEST_F(Tool, TakesModelsFromTheSchemaUnlessTheCommandLineSaysOtherwise) {
  write("times.csv", kTimes);
  write("times.json", R"({"stream": "times", "formats": {"date_model": "DD-Mon-YYYY",
                          "timestamp_model": "YYYYMMDD HH24MISS.FF", "time_model": "HH:MI AM"}, )" +
                          std::string(kColumns) + "}");
  EXPECT_EQ(run("kyv convert -q -s times.json times.csv -o times.rows").err, "");
  EXPECT_EQ(run("kyv print -q -s times.json times.rows").out, "05-Mar-2024,20240305 070809.500000,07:08 PM\n");
  EXPECT_EQ(run("kyv print -q -s times.json times.rows --date-format %d --timestamp-model FF3 --time-format %H").out,
            "05,500,19\n");
}

TEST_F(Tool, RefusesModelsThatCannotBeUsed) {
  write("times.csv", kTimes);
  write("plain.json", R"({"stream": "times", )" + std::string(kColumns) + "}");
  write("both.json",
        R"({"stream": "times", "formats": {"date": "%d", "date_model": "DD"}, )" + std::string(kColumns) + "}");
  const struct {
    const char* line;
    int status;
    const char* message;
  } kCases[] = {
      {"convert -s plain.json times.csv --date-model DDD", 2, "date model \"DDD\": \"DDD\": this token cannot be read"},
      {"print -s plain.json times.csv --time-model 'HH24 RR'", 2,
       "time model \"HH24 RR\": \"RR\": this token cannot be printed"},
      {"convert -s plain.json times.csv --date-model DD --date-format %d", 2, "--date-format"},
      {"convert -s both.json times.csv", 3, "\"formats\" has both \"date\" and \"date_model\""},
  };
  for (const auto& row : kCases) {
    const Outcome outcome = run("kyv " + std::string(row.line));
    EXPECT_EQ(outcome.status, row.status) << row.line;
    EXPECT_THAT(outcome.err, HasSubstr(row.message)) << row.line;
  }
}

}  // namespace
