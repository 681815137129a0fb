// kyv read: what a stream holds, where to begin and to end, and what is said where nothing can be read.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "kyv/connection_row_csv.h"
#include "kyv/data_types.h"
#include "kyv/sdk.h"
#include "kyv/stream_schema.h"
#include "tool_fixture.h"

namespace {

using kyv_test::Outcome;
using testing::HasSubstr;
using testing::StartsWith;

const std::vector<kyv::StreamColumn> kColumns = {
    {"Id", DataTypes::kLong}, {"Name", DataTypes::kString}, {"Born", DataTypes::kDate}, {"Pay", DataTypes::kMoney2}};

// A project of its own, which the tool finds as the test does.
class Read : public kyv_test::Tool {
 protected:
  Read() {
    setenv("KYV_STORE_DIR", path("store").c_str(), 1);
    EXPECT_EQ(kyv_sdk_start(error_), 0);
    uri_ = kyv_uri_create_string("kyv://localhost:0000/default/hr/people:1", error_);
    project_ = kyv_project_get(uri_, nullptr, nullptr, error_);
    EXPECT_EQ(kyv_project_connect(project_, error_), 0) << kyv_error_get_message(error_);
    publisher_ = kyv_project_create_publisher(project_, nullptr, error_);
    EXPECT_EQ(kyv_publisher_connect(publisher_, error_), 0) << kyv_error_get_message(error_);
  }
  ~Read() override {
    close();
    kyv_error_free(error_);
  }

  void close() {
    kyv_publisher_free(publisher_, error_);
    kyv_uri_free(uri_, error_);
  }

  // Lines that begin with the stream's name and an operation, published in one transaction. The stream is defined when
  // it is not there: a table of its first column when it is called Table.
  void publish(const std::string& stream, const std::vector<std::string>& lines) {
    kyv::StreamSchema schema(stream, 7, kColumns);
    ConnectionRowCsv row;
    row.setStreamType(&schema, false);
    row.setWithService(true);
    kyv_message_writer_t* const writer = kyv_publisher_get_writer(publisher_, define(stream), error_);
    for (const std::string& line : lines) {
      ConnectionErrors errors;
      kyv::ByteBuffer record;
      ASSERT_TRUE(row.appendRow(line, 1, errors, record)) << errors.report();
      ASSERT_EQ(kyv_message_writer_add_record(writer, record.data(), static_cast<std::uint32_t>(record.size()), error_),
                0)
          << kyv_error_get_message(error_);
    }
    ASSERT_EQ(kyv_publisher_publish(publisher_, writer, error_), 0) << kyv_error_get_message(error_);
  }

  // Runs the tool on the project.
  Outcome read(const std::string& options) const { return run("kyv read --project hr/people:1 " + options); }

 private:
  kyv_stream_t* define(const std::string& stream) {
    std::vector<const char*> names;
    std::vector<std::uint32_t> types;
    for (const kyv::StreamColumn& column : kColumns) {
      names.push_back(column.name.c_str());
      types.push_back(column.type);
    }
    const std::int32_t key = 0;
    kyv_stream_t* const defined =
        kyv_project_define_stream(project_, stream.c_str(), 7, static_cast<std::int32_t>(names.size()), names.data(),
                                  types.data(), stream == "Table" ? 1 : 0, &key, error_);
    EXPECT_NE(defined, nullptr) << kyv_error_get_message(error_);
    return defined;
  }

  kyv_error_t* const error_ = kyv_error_create();
  kyv_uri_t* uri_ = nullptr;
  kyv_project_t* project_ = nullptr;
  kyv_publisher_t* publisher_ = nullptr;
};

TEST_F(Read, PrintsWhatAStreamHolds) {
  publish("Log", {"Log,p,1,Ann,1990-01-31 00:00:00,10.50", "Log,i,2,a;b,,0"});
  publish("Log", {"Log,p,3,,,"});
  publish("Table", {"Table,i,1,Ann,,1", "Table,i,2,Bob,,2", "Table,i,3,Cid,,3"});
  publish("Table", {"Table,d,2,,,", "Table,u,1,Anna,,1"});
  const struct {
    const char* options;
    const char* out;
  } cases[] = {
      {"--stream Log", "1,Ann,1990-01-31 00:00:00,10.50\n2,a;b,,0.00\n3,,,\n"},
      {"--stream Log --header --separator ';' --date-format %d.%m.%y",
       "Id;Name;Born;Pay\n1;Ann;31.01.90;10.50\n2;\"a;b\";;0.00\n3;;;\n"},
      {"--stream Log --service --limit 2", "Log,p,1,Ann,1990-01-31 00:00:00,10.50\nLog,i,2,a;b,,0.00\n"},
      {"--stream Log --numbers --header --from 1", "row,operation,Id,Name,Born,Pay\n2,i,2,a;b,,0.00\n3,p,3,,,\n"},
      {"--stream Log --format json --from 2", "{\"Id\":3,\"Name\":null,\"Born\":null,\"Pay\":null}\n"},
      {"--stream Log --format json --numbers --limit 1",
       "{\"row\":1,\"op\":\"p\",\"Id\":1,\"Name\":\"Ann\",\"Born\":\"1990-01-31 00:00:00\",\"Pay\":10.50}\n"},
      {"--stream Log --permutation Name=title:Id=code --header --limit 1", "title,code\nAnn,1\n"},
      {"--stream Log --from 3", ""},
      {"--stream Log --from 9223372036854775807", ""},
      {"--stream Log --limit 0 --follow", ""},
      {"--stream Table --numbers", "3,i,3,Cid,,3.00\n5,u,1,Anna,,1.00\n"},
      {"--stream Table --numbers --from 3", "4,d,2,,,\n5,u,1,Anna,,1.00\n"},
      {"",
       "Log: a log, id 7\n  Id    long\n  Name  string\n  Born  date\n  Pay   money(2)\n"
       "Table: a table, id 7\n  Id    long, key\n  Name  string\n  Born  date\n  Pay   money(2)\n"},
  };
  for (const auto& row : cases) {
    const Outcome outcome = read(std::string("-q ") + row.options);
    EXPECT_EQ(outcome.status, 0) << row.options << '\n' << outcome.err;
    EXPECT_EQ(outcome.out, row.out) << row.options;
    EXPECT_EQ(outcome.err, "") << row.options;
  }
  const Outcome told = read("--stream Log -o log.csv --threads 3");
  EXPECT_THAT(told.err, StartsWith("read 3, accepted 3, rejected 0 in "));
  EXPECT_EQ(kyv_test::read(path("log.csv")), cases[0].out);
}

// The schema of a stream is enough to turn what was printed into the same records again.
TEST_F(Read, WritesASchemaThatReadsItsLines) {
  publish("Table", {"Table,i,1,a;b\"c,1990-01-31 12:00:00,10.50", "Table,i,2,,,"});
  const std::string options =
      "-q --stream Table --schema-out s.json --header --separator ';' --date-format %d.%m.%YT%H -o t.csv";
  ASSERT_EQ(read(options).status, 0);
  const Outcome again = run("kyv convert -q -s s.json t.csv -o t.rows && kyv print -q -s s.json t.rows --header");
  EXPECT_EQ(again.out, kyv_test::read(path("t.csv"))) << again.err;
  EXPECT_THAT(kyv_test::read(path("s.json")), HasSubstr("\"key\": [\"Id\"]"));
  EXPECT_THAT(read("--format json").out,
              StartsWith(R"({"stream":"Table","id":7,"key":["Id"],"columns":[{"name":"Id","type":"long"},)"));
}

TEST_F(Read, ManyRowsComeInOrderWithAnyNumberOfThreads) {
  constexpr int kRows = 20000;
  std::vector<std::string> lines;
  std::string expected;
  for (int i = 1; i <= kRows; ++i) {
    const std::string id = std::to_string(i);
    lines.push_back("Log,i," + id + "," + std::string(static_cast<std::size_t>(i % 100), 'x') + ",,1");
    expected += id + "," + id + "\n";
  }
  publish("Log", lines);
  const Outcome outcome = read("-q --stream Log --numbers --threads 4 | cut -d, -f1,3");
  EXPECT_TRUE(outcome.out == expected) << outcome.out.substr(0, 200) << outcome.err;
}

// A line is there as soon as its row is, and rows of other processes count.
TEST_F(Read, FollowsAStream) {
  publish("Log", {"Log,i,1,first,,"});
  const std::string line = "PATH=" + std::string(kyv_test::kToolDir) +
                           ":$PATH; kyv read --project hr/people:1 --stream Log --follow --limit 4 --header -q";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(popen(line.c_str(), "r"), pclose);
  char text[100] = "";
  const auto next = [&] { return std::string(std::fgets(text, sizeof text, out.get()) != nullptr ? text : ""); };
  EXPECT_EQ(next(), "Id,Name,Born,Pay\n");
  EXPECT_EQ(next(), "1,first,,\n");
  for (const std::string id : {"2", "3", "4"}) {
    publish("Log", {"Log,i," + id + ",later,,"});
    EXPECT_EQ(next(), id + ",later,,\n");
  }
  EXPECT_EQ(next(), "") << "the limit ends it";
}

TEST_F(Read, IsEndedByASignalInGoodOrder) {
  publish("Log", {"Log,i,1,first,,"});
  for (const std::string signal : {"INT", "TERM"}) {
    const Outcome outcome =
        run("kyv read --project hr/people:1 --stream Log --follow >followed & reader=$!\n"
            "until [ -s followed ]; do sleep 0.01; done\n"
            "kill -" +
            signal + " $reader; wait $reader");
    EXPECT_EQ(outcome.status, 0) << signal;
    EXPECT_EQ(kyv_test::read(path("followed")), "1,first,,\n");
    EXPECT_THAT(outcome.err, StartsWith("read 1, accepted 1, rejected 0 in "));
    std::filesystem::remove(path("followed"));
  }
}

TEST_F(Read, SaysInOneLineWhatIsWrong) {
  std::vector<std::string> lines(3000, "Log,i,1,a text that makes lines long enough to fill a pipe at once,,");
  publish("Log", lines);
  close();  // from now on all is in the one file
  run("mkdir -p store/default/bad; head -c 9999 /dev/urandom >store/default/bad/random.1.kyv\n"
      "cp store/default/hr/people.1.kyv store/default/bad/torn.1.kyv\n"
      "printf 'xxxxxxxxxxxxxxxx' | dd of=store/default/bad/torn.1.kyv bs=1 seek=4096 conv=notrunc 2>/dev/null");
  const struct {
    const char* arguments;
    int status;
    const char* message;  // behind "kyv: "
  } cases[] = {
      {"--project hr/people", 2, "--project: must be a path, a colon and a number"},
      {"--project hr/people:01", 2, "--project: the number must be without leading zeros"},
      {"--project :1", 2, "--project: must be a path, a colon and a number"},
      {"--project ../people:1", 2, "'kyv://localhost:0000/default/../people:1' is no project's address"},
      {"--project hr/people:1 --follow", 2, "--follow requires --stream"},
      {"--project hr/people:1 --stream Log --from -1", 2, "--from: must be a whole number from 0"},
      {"--project hr/people:1 --stream Log --numbers --service", 2, "--numbers excludes --service"},
      {"--project hr/people:1 --stream Log --time-model RR", 2, "time model \"RR\""},
      {"--project hr/none:1", 4, "there is no project 'hr/none:1'"},
      {"--project hr/people:2 --stream Log", 4, "there is no project 'hr/people:2'"},
      {"--project hr/people:1 --stream log", 4, "the project has no stream 'log'"},
      {"--project bad/random:1 --stream Log", 4, "is no project file"},
      {"--project bad/torn:1 --stream Log", 4, "damaged"},
      {"--project hr/people:1 --stream Log >/dev/full", 3, "cannot write standard output: No space left on device"},
      {"--project hr/people:1 >/dev/full", 3, "cannot write standard output: No space left on device"},
      {"--project hr/people:1 --stream Log >&-", 3, "cannot write standard output: Bad file descriptor"},
      {"--project hr/people:1 --stream Log -o none/log.csv", 3, "cannot write none/log.csv: No such file"},
      {"--project hr/people:1 --stream Log --schema-out none/s.json", 3, "cannot write none/s.json: No such file"},
  };
  for (const auto& row : cases) {
    const Outcome outcome = run(std::string("kyv read -q ") + row.arguments);
    EXPECT_EQ(outcome.status, row.status) << row.arguments;
    EXPECT_THAT(outcome.err, testing::AllOf(StartsWith("kyv: "), HasSubstr(row.message))) << row.arguments;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << row.arguments << '\n' << outcome.err;
  }
  EXPECT_FALSE(std::filesystem::exists(path("store/default/hr/none.1.kyv"))) << "reading makes no project";
  const Outcome piped = read("--stream Log | head -n 1; exit ${PIPESTATUS[0]}");
  EXPECT_EQ(piped.status, 0) << "a reader that has seen enough is no failure";
  EXPECT_EQ(piped.err, "");
}

}  // namespace
