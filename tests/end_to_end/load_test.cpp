// kyv load: what it publishes, where it goes on, what it refuses, and what it says.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/end_to_end/load_fixture.h"

namespace {

using kyv_test::Outcome;
using kyv_test::read;
using testing::HasSubstr;

using Json = nlohmann::json;

class LoadTool : public kyv_test::Load {
 protected:
  LoadTool() {
    writeSchema("s.json", "");
    writeSchema("table.json", R"("key": ["Id"],)");
    writeSchema("other.json", R"("key": ["Name"],)");
  }

  // In these lines of bash `load FILE...` loads into stream t of the project p:1, and `reads` prints what it holds.
  Outcome runLine(const std::string& line) const {
    return run(
        "load() { kyv load -s s.json --project p:1 \"$@\"; }\n"
        "reads() { kyv read -q --project p:1 --stream t; }\n" +
        line);
  }

  struct Step {
    const char* line;
    int status;
    const char* says;        // somewhere on standard error
    const char* holds = "";  // the stream, rows with blanks between; not looked at when empty
  };

  void runSteps(const std::vector<Step>& steps) const {
    std::filesystem::remove_all(path("store"));
    for (const Step& step : steps) {
      const Outcome outcome = runLine(step.line);
      EXPECT_EQ(outcome.status, step.status) << step.line << "\n" << outcome.err;
      EXPECT_THAT(outcome.err, HasSubstr(step.says)) << step.line;
      if (*step.holds != '\0') {
        EXPECT_EQ(runLine("reads | paste -sd ' '").out, step.holds + std::string("\n")) << step.line;
      }
    }
  }

 private:
  void writeSchema(const std::string& name, const std::string& key) const {
    write(name, R"({"stream": "t", "id": 3, )" + key +
                    R"("columns": [{"name": "Id", "type": "long"}, {"name": "Name", "type": "string"}]})");
  }
};

TEST_F(LoadTool, GoesOnWhereTheDeliveryStands) {
  const std::vector<Step> kCases[] = {
      {
          {R"(printf '1,a\n2,b\n' >f; load f)", 0, "read 2, accepted 2, rejected 0", "1,a 2,b"},
          {R"(printf '1,a\n2,b\n3,c\n' >f; load f)", 0, "kyv: resuming after row 2\nread 1, accepted 1", "1,a 2,b 3,c"},
          {"load f", 0, "; published 0, delivered before 3", "1,a 2,b 3,c"},
          {"head -n 2 f >g; load g", 3,
           "kyv: Rows up to 3 are delivered, but the input ends at row 2: ", "1,a 2,b 3,c"},
          {"LC_ALL=de_DE.UTF-8 load g", 3, "kyv: Zeilen bis 3 sind zugestellt, die Eingabe endet aber mit Zeile 2: "},
          {"load --adapter another f", 0, "published 3, delivered before 0", "1,a 2,b 3,c 1,a 2,b 3,c"},
      },
      // Bad rows and blank lines count as places, above a header they do not. Those behind the last good row come
      // again.
      {
          {R"(printf '\nA,B\n\nx,a\n1,a\n\n2,b\ny,c\n' >f; load --header f)", 1,
           "f:4: column \"Id\": record 1: ", "1,a 2,b"},
          {R"(printf '3,d\n' >>f; load --header f)", 1,
           "kyv: resuming after row 5\nf:8: column \"Id\": record 4: Error converting data 'y'", "1,a 2,b 3,d"},
          {"load --header f", 0, "resuming after row 7\nread 0, accepted 0, rejected 0"},
      },
      // A record over several lines, and one that is too long, are a row each.
      {
          {"{ printf '1,\"a\\nb\"\\n2,'; head -c 3000000 /dev/zero | tr '\\0' x; printf '\\n3,c\\n'; } >f; load "
           "--quoted f",
           1, "f:3: record 2: longer than 1048576 bytes"},
          {"echo 4,d >>f; load --quoted f", 0, "resuming after row 3\nread 1, accepted 1, rejected 0"},
          {"reads | tail -n 2 >&2", 0, "3,c\n4,d\n"},
      },
      // What is rejected is kept once, and below one header.
      {
          {R"(printf 'A,B\n1,a\nx,b\n2,c\ny,d\n' >f; load --header --rejects r --max-errors 2 f; cat r >&2)", 0,
           "kyv: stopped by --max-errors; published up to row 3, and the same command goes on from "
           "there\nA,B\nx,b\ny,d\n",
           "1,a 2,c"},
          {R"(sed -i s/^y/3/ f; printf 'z,e\n' >>f; load -q --header --rejects r f; cat r >&2)", 0,
           "A,B\nx,b\ny,d\nz,e\n", "1,a 2,c 3,d"},
      },
  };
  for (const std::vector<Step>& steps : kCases) runSteps(steps);
}

// Several rows of one key, cut apart by batches; rejected rows have no key and no place among those of a key.
TEST_F(LoadTool, CountsRowsOfAKey) {
  runSteps({
      {R"(printf '7,a\n7,b\n' >f; load --key-column Id --batch 1 f)", 0, "published 2", "7,a 7,b"},
      {R"(printf '5,w\nx,y\n7,a\nx,y\n7,b\nz,y\n7,c\n8,d\n8,e\n' >f; load --key-column Id --batch 2 f)", 1,
       "kyv: resuming after key 7 (2 rows of it)\nf:6: column \"Id\": record 6: ", "7,a 7,b 7,c 8,d 8,e"},
      {"load --key-column Id f", 0, "resuming after key 8 (2 rows of it)\nread 0"},
      {"head -n 8 f >g; load --key-column Id g", 3,
       "kyv: 2 rows with key 8 are delivered, but the input has 1 of them: "},
      {"grep -v 8, f >g; echo 9,f >>g; load --key-column Id g", 3, "but the input has 0 of them: "},
      {R"(printf '9,f\n,n\n9,g\n4,h\n10,i\n' >>f; load --key-column Id f)", 3,
       "f:11: column \"Id\": record 11: a delivery key cannot be NULL", "7,a 7,b 7,c 8,d 8,e 9,f 9,g"},
      {"load --key-column Id f", 3, "kyv: Row 13: the delivery key falls from 9 to 4."},
      {"echo 1,z >g; load --key-column Id g", 3, "kyv: 2 rows with key 9 are delivered, but the input has 0 of them: "},
      {": >g; load --key-column Id g", 0, "read 0, accepted 0, rejected 0"},
      {R"(printf 'x,y\n10,j\n' >g; load --key-column Id g)", 1,
       "g:1: column \"Id\": record 1: ", "7,a 7,b 7,c 8,d 8,e 9,f 9,g 10,j"},
      {"load f", 2, "kyv: the delivery of adapter \"load/t\" was begun with --key-column, and goes on only like that"},
      {"load --adapter n f", 1, "published 11"},
      {"load --adapter n --key-column Id f", 2, "was begun without --key-column, and goes on only like that"},
  });
}

TEST_F(LoadTool, TriesWithoutWriting) {
  runSteps({
      {R"(printf '1,a\nx,b\n2,c\n' >f; load --dry-run f)", 1,
       "kyv: note: there is no project p:1 yet\nkyv: note: would begin with the first row\nf:2: "},
      {"[ ! -e store ] && load --dry-run f", 1, "read 3, accepted 2, rejected 1"},
      {R"(printf '1,a\n' >g; load g)", 0, "published 1"},
      {"md5sum store/default/* >sums; load --dry-run --max-errors 1 f", 1,
       "kyv: note: would resume after row 1\nf:2: "},
      {"load --dry-run f; md5sum -c sums >&2", 0, "OK", "1,a"},
      {"load --dry-run --key-column Id f", 2, "begun without --key-column"},
      {"load --dry-run --adapter n --key-column Id f <<<x; printf '2,a\\n1,b\\n' | load --dry-run --adapter n "
       "--key-column Id -",
       3, "the delivery key falls from 2 to 1"},
      {"kyv load -s other.json --project p:1 --dry-run f", 4, "kyv: Stream t is there with another definition."},
      {"sed s/3/4/ s.json >o.json; kyv load -s o.json --project p:1 --dry-run f", 4, "with another definition"},
      {"sed 's/\"t\"/\"u\"/' s.json >u.json; kyv load -s u.json --project p:1 --dry-run f", 1,
       "kyv: note: there is no stream u yet\n"},
      {": >h; load --dry-run h", 3, "Rows up to 1 are delivered, but the input ends at row 0"},
  });
}

TEST_F(LoadTool, RefusesWhatCannotBe) {
  runSteps({
      {"echo 1,a >f; load f --key-column No", 2, "kyv: --key-column: the stream has no column \"No\"\n"},
      {"load f --key-column Name", 2, "kyv: --key-column: column \"Name\" is no long or integer\n"},
      {"load f --bookkeeping t", 2, "kyv: --bookkeeping: the rows go to stream \"t\", not the bookkeeping\n"},
      {"load f --dry-run --rejects r", 2, "excludes"},
      {"load f --batch 0", 2, "--batch: must be a whole number from 1 to 1000000"},
      {"kyv load -s s.json --project p f", 2, "--project: must be a path, a colon and a number"},
      {"kyv load -s s.json --project p:01 f", 2, "kyv: --project: the number must be without leading zeros"},
      {"kyv load -s s.json --project /p:1 f", 2, "kyv: Cannot connect to /p:1: "},
      {"kyv load -s s.json --project /p:1 --dry-run f", 2, "kyv: Cannot connect to /p:1: "},
      {"kyv load -s s.json --project p:1 none", 3, "kyv: cannot read none: "},
      {"[ ! -e store ]", 0, ""},
      {"load f; kyv load -s other.json --project p:1 f", 4, "kyv: Stream t is there with another definition.\n"},
      {"load --rejects f f", 2, "kyv: the rejected rows would replace the input\n"},
      {"load --rejects none/r f", 3, "kyv: cannot write none/r: No such file or directory\n"},
      {"printf 'x,a\n' >bad; load --adapter bad --rejects /dev/full bad", 3,
       "kyv: cannot write /dev/full: No space left"},
      {"printf no-project >store/default/q.1.kyv; kyv load -s s.json --project q:1 f", 4,
       "q.1.kyv' is no project file\n"},
      {"KYV_STORE=none load f", 4, "kyv: Cannot connect to p:1: "},
  });
}

// A table's rows act on keys. What a stream never takes is a bad row; what it does not take now ends the load.
TEST_F(LoadTool, PublishesOperations) {
  const std::string kOperations = R"(printf 't,i,1,a\nt,i,2,b\nt,u,1,c\nt,d,2,\nt,p,3,d\nt,p,,e\n' >f; )";
  const std::string loadTable = "kyv load -s table.json --service --project p:1 f";
  runSteps({
      {(kOperations + loadTable).c_str(), 1,
       "f:6: column \"Id\": record 6: a key cannot be NULL\n    t,p,,e\n        ^\n", "1,c 3,d"},
      {("echo t,i,3,f >>f; echo t,i,4,g >>f; " + loadTable).c_str(), 4,
       "kyv: Rows cannot be written to stream t: row 1 of 2: stream 't' already has a row with this key; published up "
       "to "
       "row 5, and the same command goes on from there\n",
       "1,c 3,d"},
      {("sed -i s/t,i,3,f/t,u,3,f/ f; " + loadTable).c_str(), 1, "published 2", "1,c 3,f 4,g"},
  });
  runSteps(
      {{(kOperations + "load --service f").c_str(), 1,
        "f:3: record 3: a stream without a key takes no updates and no deletes\n    t,u,1,c\n", "1,a 2,b 3,d ,e"}});
}

TEST_F(LoadTool, SeveralThreadsAndAnyBatchesGiveTheSame) {
  const std::string file = kyv_test::kDataDir + std::string("/birdstrikes.csv");
  ASSERT_EQ(run("kyv infer -q " + file + " >b.json; kyv convert -q -s b.json " + file + " -o expected").status, 0);
  int project = 0;
  for (const char* options :
       {"--threads 1", "--threads 4 --batch 70", "--threads 3 --batch 999 --quoted", "--batch 1000000"}) {
    const std::string name = "b:" + std::to_string(++project);
    EXPECT_EQ(run("kyv load -q -s b.json --project " + name + " " + options + " " + file).status, 0) << options;
    EXPECT_EQ(stream(name, "birdstrikes"), read(path("expected"))) << options;
  }
}

TEST_F(LoadTool, TellsStatistics) {
  write("f", "1,a\n2,b\n3,c\n");
  EXPECT_THAT(
      runLine("load --batch 2 --stats 100 f").err,
      testing::MatchesRegex("rows 3, batches 2, rows_per_second [0-9]+, bytes 126, retries 0, key 3, rows_of_key 0\n"
                            "read 3, accepted 3, rejected 0 in .* MB/s\\); published 3, delivered before 0\n"));
  const Outcome outcome = runLine("echo 4,d >>f; (cat f; sleep 1.2) | load -q --batch-time 50 --stats 1 --json -");
  const std::string first = outcome.err.substr(0, outcome.err.find('\n'));
  EXPECT_EQ(Json::parse(first).at("key"), 4) << outcome.err;
  EXPECT_EQ(Json::parse(outcome.out).at("published"), 1);
  EXPECT_EQ(Json::parse(outcome.out).at("delivered_before"), 3);
}

TEST_F(LoadTool, KeepsBooks) {
  const std::string books = "; kyv read -q --project p:1 --stream books >&2";
  runSteps({
      {"printf '1,a\\n2,b\\n' >f; load --bookkeeping books f", 0, "published 2"},
      {("true" + books).c_str(), 0, "1,2,true\n"},
      {("echo x,c >>f; echo 3,d >>f; load -q --bookkeeping books f" + books).c_str(), 0, "1,4,false\n"},
      {("load -q --bookkeeping books f" + books).c_str(), 0, "1,4,true\n"},
      {"load --adapter n --bookkeeping books f", 4,
       "kyv: Rows up to 4 were delivered, but the delivery stands at -: the project has lost rows, or the bookkeeping "
       "belongs to another delivery.\n"},
      {"load --adapter n f; echo 4,e >>f; load --adapter n --bookkeeping books f", 0, "published 1"},
      {"kyv load -s s.json --project p:0 --bookkeeping books f", 1, "published 4"},
      {"load --bookkeeping books f", 4, "Rows up to 5 were delivered, but the delivery stands at row 4: "},
      {R"(sed 's/"t"/"u"/; s/long/integer/' s.json >u.json; kyv load -q -s u.json --project p:1 f)", 1, ""},
      {"load --adapter m --bookkeeping u f", 4, "kyv: --bookkeeping: stream \"u\" has no column of type long\n"},
      {"kyv read -q --project p:1 --stream u | grep -c , >&2", 0, "4\n", "1,a 2,b 3,d 1,a 2,b 3,d 4,e"},
  });
}

}  // namespace
